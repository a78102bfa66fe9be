// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Gives each file of the folders named as arguments to the fuzzer that this is linked with.

#include "tests/Fuzz/Fuzzer.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const fs::path &folder)
{
    std::vector<fs::path> files;
    std::copy(fs::directory_iterator(folder), fs::directory_iterator(), std::back_inserter(files));
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const fs::path &path)
{
    // Known before the input is tried, which may end the process.
    std::fprintf(stderr, "%s\n", path.c_str());
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> content(std::istreambuf_iterator<char>(file), {});
    // On the heap and without room behind it, so that a sanitizer sees each read beyond the end.
    const std::vector<std::uint8_t> input(content.begin(), content.end());
    static_cast<void>(LLVMFuzzerTestOneInput(input.data(), input.size()));
}

} // namespace

int main(int argc, char **argv)
{
    std::size_t count = 0;
    for (const char *folder : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        for (const fs::path &file : filesIn(folder)) {
            replay(file);
            ++count;
        }
    }
    if (count == 0) {
        std::fputs("nothing was replayed\n", stderr);
    }
    return count > 0 ? 0 : 1;
}
