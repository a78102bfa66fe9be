// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

pragma ComponentBehavior: Bound

import QtQuick
import Tarnwick.UI

/// The form of the preferences. It scrolls where a screen is too small for it.
Item {
    id: root

    required property SettingsModel settings
    required property LaunchAtLogin launchAtLogin
    required property UpdaterController updater
    readonly property Item focusedItem: root.Window.activeFocusItem

    function isInForm(item: Item): bool {
        return item !== null && (item === sections || isInForm(item.parent));
    }

    onFocusedItemChanged: {
        if (isInForm(focusedItem)) {
            const y = focusedItem.mapToItem(form, 0, 0).y;
            view.contentY = Math.max(0, y + focusedItem.height + form.margin - view.height, Math.min(view.contentY, y - form.margin));
        }
    }

    Flickable {
        id: view

        anchors.fill: parent
        clip: true
        contentHeight: form.height
        boundsBehavior: Flickable.StopAtBounds

        Item {
            id: form

            readonly property int margin: 16

            width: view.width
            height: sections.height + 2 * margin

            Column {
                id: sections

                x: 24
                y: form.margin
                width: form.width - 48
                spacing: form.margin

                FormSection {
                    width: sections.width
                    title: "General"

                    LaunchAtLoginToggle {
                        width: parent.width
                        launchAtLogin: root.launchAtLogin
                    }
                    Hairline {
                        width: parent.width
                    }
                    Toggle {
                        width: parent.width
                        label: "Show system ports by default"
                        checked: root.settings.showSystemPortsByDefault
                        onToggled: checked => root.settings.showSystemPortsByDefault = checked
                    }
                    FailureCaption {
                        width: parent.width
                        text: root.settings.showSystemPortsFailure
                    }
                }
                FormSection {
                    width: sections.width
                    title: "Monitoring"

                    PollIntervalSetting {
                        width: parent.width
                        settings: root.settings
                    }
                }
                OnDemand {
                    when: root.updater.isAvailable

                    UpdatesSection {
                        width: sections.width
                        updater: root.updater
                    }
                }
            }
        }
    }
    ScrollIndicator {
        anchors.right: parent.right
        height: parent.height
        view: view
    }
}
