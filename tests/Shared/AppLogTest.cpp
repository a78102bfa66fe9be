// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/AppLog.h"
#include "Shared/FileDescriptor.h"
#include "Shared/Iso8601.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Tarnwick;

namespace fs = std::filesystem;

namespace {

/// For what has to happen, on however busy a machine.
constexpr std::chrono::seconds patience{30};

constexpr std::size_t timestampLength = std::string_view("2026-11-16T00:52:47.123Z").size();

std::string contentsOf(const fs::path &file)
{
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

/// The messages of a log, without their timestamps.
std::vector<std::string> messagesIn(const std::string &log)
{
    std::vector<std::string> messages;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_GT(line.size(), timestampLength);
        messages.push_back(line.substr(std::min(line.size(), timestampLength + 1)));
    }
    return messages;
}

/// What @p action writes to standard error.
template<class Action>
std::string standardErrorOf(Action action)
{
    testing::internal::CaptureStderr();
    action();
    AppLog::flush(patience);
    return testing::internal::GetCapturedStderr();
}

/// Logs into a folder of its own. A death test runs its test anew in a second process, which finds
/// the folder of the first in the environment.
class AppLogTest : public testing::Test
{
protected:
    AppLogTest()
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        if (std::getenv(folderVariable) == nullptr) {
            m_own = std::make_unique<TemporaryFolder>();
            m_shared = std::make_unique<ScopedEnvironment>(folderVariable, m_own->path());
        }
        m_folder = std::getenv(folderVariable);
        useDataHome(m_folder);
    }

    void TearDown() override { AppLog::flush(patience); }

    void useDataHome(const fs::path &folder)
    {
        m_file = folder / "Tarnwick" / "app.log";
        m_dataHome.reset();
        m_dataHome = std::make_unique<ScopedEnvironment>("XDG_DATA_HOME", folder);
    }

    [[nodiscard]] const fs::path &folder() const { return m_folder; }
    [[nodiscard]] const fs::path &file() const { return m_file; }

    void writeFile(const std::string &contents) const
    {
        fs::create_directories(m_file.parent_path());
        std::ofstream(m_file) << contents;
    }

private:
    static constexpr const char *folderVariable = "TARNWICK_APP_LOG_TEST_FOLDER";

    std::unique_ptr<TemporaryFolder> m_own;
    std::unique_ptr<ScopedEnvironment> m_shared;
    std::unique_ptr<ScopedEnvironment> m_dataHome;
    fs::path m_folder;
    fs::path m_file;
};

constexpr int manyLines = 300;

void logNumbers()
{
    for (int i = 0; i < manyLines; ++i) {
        AppLog::log(std::to_string(i));
    }
}

std::vector<std::string> numbers()
{
    std::vector<std::string> texts;
    texts.reserve(manyLines);
    for (int i = 0; i < manyLines; ++i) {
        texts.push_back(std::to_string(i));
    }
    return texts;
}

void writeStandardErrorTo(const fs::path &file)
{
    const FileDescriptor descriptor(
        open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    if (dup2(descriptor.get(), STDERR_FILENO) < 0) {
        _exit(2);
    }
}

/// Makes standard error a pipe that nobody reads.
void breakStandardError()
{
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
        _exit(2);
    }
    close(ends[0]);
    close(ends[1]);
}

/// Makes standard error a pipe that is full.
void fillStandardError()
{
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
        _exit(2);
    }
    const std::array<char, 4096> part{};
    while (write(STDERR_FILENO, part.data(), part.size()) > 0) {
    }
    fcntl(STDERR_FILENO, F_SETFL, 0);
}

/// Lets no file of this process grow beyond @p size, as a full disk does.
void limitFileSize(rlim_t size)
{
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(size, limit.rlim_max);
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
        _exit(2);
    }
}

/// Whether a process ends while one of its threads hangs.
bool hasHangingThread = false;

} // namespace

// LeakSanitizer stops all threads at the end, and would wait for one that hangs in the kernel.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off() // NOLINT
{
    return hasHangingThread ? 1 : 0;
}

namespace {

/// What endWithALogThatHangs() ends with besides 0.
constexpr int notPermitted = 3;
constexpr int wentWrong = 4;

/// Mounts a FUSE file system that never answers on @p folder, for this process alone.
bool mountHangingFileSystem(const fs::path &folder)
{
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    const int device = open("/dev/fuse", O_RDWR | O_CLOEXEC);
    const std::string options =
        "fd=" + std::to_string(device) + ",rootmode=40000,user_id=0,group_id=0";
    return device >= 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("hanging", folder.c_str(), "fuse", 0, options.c_str()) == 0;
}

/// Logs a line into @p folder, where nothing ever answers, flushes in vain and ends the process.
[[noreturn]] void endWithALogThatHangs(const fs::path &folder)
{
    alarm(static_cast<unsigned>(patience.count()));
    if (!mountHangingFileSystem(folder)) {
        _exit(notPermitted);
    }
    hasHangingThread = true;
    AppLog::log("x");
    std::exit(AppLog::flush() ? wentWrong : 0);
}

} // namespace

TEST_F(AppLogTest, MakesTheFolderAndTheFileWithTheFirstLine)
{
    useDataHome(folder() / "not" / "yet");
    const std::string line = standardErrorOf([] { AppLog::log("[app] hello"); });
    EXPECT_THAT(messagesIn(line), testing::ElementsAre("[app] hello"));
    EXPECT_EQ(contentsOf(file()), line);
}

TEST_F(AppLogTest, BeginsEachLineWithTheTimeInMilliseconds)
{
    using namespace std::chrono;
    const Timestamp before = floor<milliseconds>(system_clock::now());
    const std::string line = standardErrorOf([] { AppLog::log("x"); });
    const Timestamp after = floor<milliseconds>(system_clock::now());

    const std::string time = line.substr(0, timestampLength);
    EXPECT_GE(time, Iso8601::formatMilliseconds(before));
    EXPECT_LE(time, Iso8601::formatMilliseconds(after));
    EXPECT_EQ(line.substr(timestampLength), " x\n");
}

TEST_F(AppLogTest, WritesAnEmptyMessageAsATimestampAndABlank)
{
    const std::string line = standardErrorOf([] { AppLog::log(""); });
    EXPECT_EQ(line.size(), timestampLength + 2);
    EXPECT_EQ(line.substr(timestampLength), " \n");
    EXPECT_EQ(contentsOf(file()), line);
}

TEST_F(AppLogTest, WritesAMessageAsItIs)
{
    using namespace std::string_literals;
    const std::string message = " two\nlines\r\n\ttab \0 NUL \xff \u20ac "s;
    const std::string line = standardErrorOf([&message] { AppLog::log(message); });
    EXPECT_EQ(line.substr(timestampLength), ' ' + message + '\n');
    EXPECT_EQ(contentsOf(file()), line);
}

TEST_F(AppLogTest, WritesALongMessageWhole)
{
    const std::string message(1'000'000, 'x');
    const std::string line = standardErrorOf([&message] { AppLog::log(message); });
    EXPECT_EQ(line.size(), timestampLength + 1 + message.size() + 1);
    EXPECT_EQ(contentsOf(file()), line);
}

TEST_F(AppLogTest, AppendsToTheFile)
{
    writeFile("before\n");
    const std::string line = standardErrorOf([] { AppLog::log("x"); });
    EXPECT_EQ(contentsOf(file()), "before\n" + line);
}

TEST_F(AppLogTest, KeepsTheOrderOfTheCalls)
{
    const std::string lines = standardErrorOf(logNumbers);
    EXPECT_EQ(messagesIn(lines), numbers());
    EXPECT_EQ(contentsOf(file()), lines);
}

TEST_F(AppLogTest, KeepsAFileOfExactlyTheLimit)
{
    const std::string contents(262'144, 'x');
    writeFile(contents);
    const std::string line = standardErrorOf([] { AppLog::log("x"); });
    EXPECT_EQ(contentsOf(file()), contents + line);
}

TEST_F(AppLogTest, StartsAfreshAFileBeyondTheLimit)
{
    writeFile(std::string(262'145, 'x'));
    const std::string line = standardErrorOf([] { AppLog::log("x"); });
    EXPECT_EQ(contentsOf(file()), line);
}

TEST_F(AppLogTest, StartsAfreshWithTheFirstLineAfterTheOneThatPassedTheLimit)
{
    writeFile(std::string(262'144, 'x'));
    standardErrorOf([] { AppLog::log("passes the limit"); });
    EXPECT_GT(fs::file_size(file()), 262'144U);
    const std::string line = standardErrorOf([] { AppLog::log("starts afresh"); });
    EXPECT_EQ(contentsOf(file()), line);
}

TEST_F(AppLogTest, MakesTheFileAnewWhenItWasDeleted)
{
    standardErrorOf([] { AppLog::log("lost"); });
    fs::remove_all(file().parent_path());
    const std::string line = standardErrorOf([] { AppLog::log("found"); });
    EXPECT_EQ(contentsOf(file()), line);
}

TEST_F(AppLogTest, LeavesNothingElseInTheFolder)
{
    standardErrorOf(logNumbers);
    std::vector<fs::path> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(file().parent_path())) {
        names.push_back(entry.path().filename());
    }
    EXPECT_THAT(names, testing::ElementsAre("app.log"));
}

TEST_F(AppLogTest, WritesWholeLinesFromManyThreads)
{
    constexpr int threadCount = 8;
    standardErrorOf([] {
        std::vector<std::thread> threads;
        threads.reserve(threadCount);
        for (int t = 0; t < threadCount; ++t) {
            threads.emplace_back([t] {
                for (int i = 0; i < manyLines; ++i) {
                    AppLog::log(std::to_string(t) + ' ' + std::to_string(i) + " end");
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    });

    const std::string log = contentsOf(file());
    EXPECT_TRUE(log.ends_with('\n'));
    std::map<int, int> next;
    for (const std::string &message : messagesIn(log)) {
        std::istringstream words(message);
        int thread = -1;
        int number = -1;
        std::string end;
        words >> thread >> number >> end;
        EXPECT_EQ(end, "end") << message;
        EXPECT_EQ(number, next[thread]++) << message;
    }
    EXPECT_EQ(next.size(), std::size_t{threadCount});
    for (const auto &[thread, count] : next) {
        EXPECT_EQ(count, manyLines) << thread;
    }
}

TEST_F(AppLogTest, WritesToStandardErrorWhenTheFolderCannotBeMade)
{
    const fs::path obstacle = folder() / "obstacle";
    std::ofstream(obstacle) << "a file";
    useDataHome(obstacle);
    const std::string lines = standardErrorOf([] { AppLog::log("x"); });
    EXPECT_THAT(messagesIn(lines), testing::ElementsAre("x"));
    EXPECT_EQ(contentsOf(obstacle), "a file");
}

TEST_F(AppLogTest, WritesToStandardErrorWhenTheFileCannotBeOpened)
{
    fs::create_directories(file());
    const std::string lines = standardErrorOf([] { AppLog::log("x"); });
    EXPECT_THAT(messagesIn(lines), testing::ElementsAre("x"));
    EXPECT_TRUE(fs::is_directory(file()));
}

TEST_F(AppLogTest, WritesToStandardErrorWhenTheFileIsADevice)
{
    fs::create_directories(file().parent_path());
    fs::create_symlink("/dev/full", file());
    const std::string lines = standardErrorOf([] { AppLog::log("x"); });
    EXPECT_THAT(messagesIn(lines), testing::ElementsAre("x"));
}

TEST_F(AppLogTest, KeepsLinesApartWhenTheDiskHasNoRoomForOne)
{
    const fs::path errors = folder() / "errors";
    EXPECT_EXIT(
        {
            writeStandardErrorTo(errors);
            AppLog::log("first");
            AppLog::flush(patience);
            limitFileSize(fs::file_size(file()) + timestampLength + 3);
            AppLog::log("second");
            AppLog::flush(patience);
            limitFileSize(RLIM_INFINITY);
            AppLog::log("third");
            AppLog::flush(patience);
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_THAT(messagesIn(contentsOf(file())), testing::ElementsAre("first", "third"));
    EXPECT_THAT(messagesIn(contentsOf(errors)), testing::ElementsAre("first", "se", "third"));
}

TEST_F(AppLogTest, MakesNoFileWhenTheDiskHasNoRoomForTheLine)
{
    EXPECT_EXIT(
        {
            limitFileSize(timestampLength);
            AppLog::log("first");
            AppLog::flush(patience);
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_TRUE(fs::is_empty(file().parent_path()));
}

TEST_F(AppLogTest, IsNotHeldUpByAFileThatNobodyReads)
{
    fs::create_directories(file().parent_path());
    ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
    const std::string lines = standardErrorOf([] {
        AppLog::log("x");
        EXPECT_TRUE(AppLog::flush(patience));
    });
    EXPECT_THAT(messagesIn(lines), testing::ElementsAre("x"));
    EXPECT_TRUE(fs::is_fifo(file()));
}

TEST_F(AppLogTest, WritesNothingToAFileThatIsRead)
{
    fs::create_directories(file().parent_path());
    ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
    const FileDescriptor reader(open(file().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    ASSERT_TRUE(reader);
    standardErrorOf([] { AppLog::log("x"); });
    std::array<char, 64> read{};
    EXPECT_EQ(::read(reader.get(), read.data(), read.size()), 0);
}

TEST_F(AppLogTest, LetsTheProgramEndWhenTheFileSystemHangs)
{
    const fs::path hanging = folder() / "hanging";
    fs::create_directories(hanging);
    useDataHome(hanging);
    int status = 0;
    const auto end = [&status](int ended) {
        status = ended;
        return WIFEXITED(ended);
    };
    EXPECT_EXIT(endWithALogThatHangs(hanging), end, "") << "the program hung";
    if (WEXITSTATUS(status) == notPermitted) {
        GTEST_SKIP() << "needs FUSE and the permission to mount";
    }
    EXPECT_EQ(WEXITSTATUS(status), 0) << "the line was not held up";
}

TEST_F(AppLogTest, WritesWhatWasLoggedBeforeTheProgramsEnd)
{
    EXPECT_EXIT(
        {
            logNumbers();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(messagesIn(contentsOf(file())), numbers());
}

TEST_F(AppLogTest, WritesToStandardErrorAfterTheFileWasClosed)
{
    EXPECT_EXIT(
        {
            std::atexit([] { AppLog::log("late"); });
            AppLog::log("early");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "early\n.* late\n");
    EXPECT_THAT(messagesIn(contentsOf(file())), testing::ElementsAre("early"));
}

TEST_F(AppLogTest, TakesTheFirstLineAtTheProgramsEnd)
{
    EXPECT_EXIT(
        {
            std::atexit([] { AppLog::log("only"); });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "only\n");
    EXPECT_THAT(messagesIn(contentsOf(file())), testing::ElementsAre("only"));
}

TEST_F(AppLogTest, SurvivesAStandardErrorThatNobodyReads)
{
    EXPECT_EXIT(
        {
            breakStandardError();
            AppLog::log("x");
            AppLog::flush(patience);
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_THAT(messagesIn(contentsOf(file())), testing::ElementsAre("x"));
}

TEST_F(AppLogTest, DoesNotWaitForWhoeverReadsStandardError)
{
    EXPECT_EXIT(
        {
            alarm(30);
            fillStandardError();
            AppLog::log("x");
            AppLog::flush(patience);
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_THAT(messagesIn(contentsOf(file())), testing::ElementsAre("x"));
}

TEST_F(AppLogTest, LeavesTheHandlingOfABrokenPipeToTheProgram)
{
    EXPECT_EXIT(
        {
            breakStandardError();
            AppLog::log("x");
            (void)!write(STDERR_FILENO, "x", 1);
            _exit(0);
        },
        testing::KilledBySignal(SIGPIPE), "");
}

TEST_F(AppLogTest, SurvivesAStandardErrorThatIsClosed)
{
    EXPECT_EXIT(
        {
            close(STDERR_FILENO);
            AppLog::log("x");
            AppLog::flush(patience);
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_THAT(messagesIn(contentsOf(file())), testing::Not(testing::IsEmpty()));
}

TEST_F(AppLogTest, WritesNoFileInAForkedProcess)
{
    const std::string lines = standardErrorOf([] {
        AppLog::log("parent");
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            alarm(30);
            AppLog::log("child");
            AppLog::flush(patience);
            _exit(0);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << "the child hung";
    });
    EXPECT_THAT(messagesIn(lines), testing::ElementsAre("parent", "child"));
    EXPECT_THAT(messagesIn(contentsOf(file())), testing::ElementsAre("parent"));
}

TEST_F(AppLogTest, FlushesWhenNothingWasLogged)
{
    AppLog::flush(patience);
    EXPECT_FALSE(fs::exists(file()));
}
