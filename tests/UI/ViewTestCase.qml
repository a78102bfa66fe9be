// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import QtTest
import Tarnwick.UI
import Tarnwick.UITest

/// What the tests of the views have in common: ways to find what a view consists of, and to
/// measure it.
TestCase {
    id: root

    when: windowShown

    /// Lays out what would be only with the next frame.
    function settle(item: Item): void {
        for (let i = 0; i < item.children.length; ++i)
            settle(item.children[i]);
        if (item.forceLayout)
            item.forceLayout();
    }
    /// The item and what is in it, as far as it is accepted; everything has its place then.
    function all(item, accepts) {
        settle(item);
        return found(item, accepts);
    }
    function found(item, accepts) {
        const items = accepts(item) ? [item] : [];
        for (let i = 0; i < item.children.length; ++i)
            items.push(...found(item.children[i], accepts));
        return items;
    }
    function isShown(item: Item): bool {
        return item.visible && item.opacity > 0;
    }
    /// The visible item that has this text, or null.
    function textItem(item: Item, text: string): Item {
        return all(item, candidate => candidate instanceof Text && candidate.text === text && candidate.visible)[0] ?? null;
    }
    /// The visible item that assistive technology knows by this name, or null.
    function named(item: Item, name: string): Item {
        return all(item, candidate => candidate.Accessible.name === name && candidate.visible && !(candidate instanceof Text))[0] ?? null;
    }
    function compareRect(item: Item, within: Item, x: real, y: real, width: real, height: real): void {
        settle(within);
        const place = item.mapToItem(within, 0, 0);
        compare([place.x, place.y, item.width, item.height], [x, y, width, height]);
    }
    function compareColor(actual: color, red: int, green: int, blue: int, opacity: real): void {
        fuzzyCompare(actual.r, red / 255, 0.003);
        fuzzyCompare(actual.g, green / 255, 0.003);
        fuzzyCompare(actual.b, blue / 255, 0.003);
        fuzzyCompare(actual.a, opacity, 0.003);
    }
    function compareFont(font: font, pixelSize: int, weight: int, tracking: real): void {
        compare(font.pixelSize, pixelSize);
        compare(font.weight, weight);
        compare(font.letterSpacing, tracking);
    }
    /// The colour of what is drawn at a place, on the panel's background.
    function comparePixel(item: Item, x: int, y: int, red: int, green: int, blue: int): void {
        const image = grabImage(item);
        const difference = Math.max(Math.abs(image.red(x, y) - red), Math.abs(image.green(x, y) - green), Math.abs(image.blue(x, y) - blue));
        verify(difference <= 2, `${image.red(x, y)}, ${image.green(x, y)}, ${image.blue(x, y)} at ${x}, ${y}`);
    }
    function leave(item: Item): void {
        mouseMove(item, -10, -10);
    }
}
