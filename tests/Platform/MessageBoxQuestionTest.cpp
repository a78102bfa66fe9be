// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/MessageBoxQuestion.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <functional>

namespace Tarnwick {
namespace {

const ModalQuestion question{.message = QStringLiteral("Move <b>it</b>?"),
                             .informativeText = QStringLiteral("Because."),
                             .firstButton = QStringLiteral("Move"),
                             .secondButton = QStringLiteral("Do Not")};

/// Asks, and does something with the box as soon as it is there.
ModalAnswer ask(const std::function<void(QMessageBox &box)> &act)
{
    QTimer::singleShot(
        0, [&act] { act(*qobject_cast<QMessageBox *>(QApplication::activeModalWidget())); });
    return askInMessageBox(question);
}

QAbstractButton *buttonIn(const QMessageBox &box, const QString &text)
{
    for (QAbstractButton *const button : box.buttons()) {
        if (button->text().remove(u'&') == text) {
            return button;
        }
    }
    return nullptr;
}

TEST(MessageBoxQuestion, ShowsTheQuestionAsItIs)
{
    ask([](QMessageBox &box) {
        EXPECT_EQ(box.text(), question.message);
        EXPECT_EQ(box.textFormat(), Qt::PlainText);
        EXPECT_EQ(box.informativeText(), question.informativeText);
        EXPECT_EQ(box.icon(), QMessageBox::Information);
        EXPECT_EQ(box.buttons().size(), 2);
        EXPECT_EQ(box.defaultButton(), buttonIn(box, question.firstButton));
        box.close();
    });
}

TEST(MessageBoxQuestion, IsAnsweredByTheButtonThatIsPressed)
{
    EXPECT_EQ(ask([](QMessageBox &box) { buttonIn(box, question.firstButton)->click(); }),
              ModalAnswer::FirstButton);
    EXPECT_EQ(ask([](QMessageBox &box) { buttonIn(box, question.secondButton)->click(); }),
              ModalAnswer::Other);
}

TEST(MessageBoxQuestion, IsAnsweredByTheKeyboard)
{
    EXPECT_EQ(ask([](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Return); }),
              ModalAnswer::FirstButton);
    EXPECT_EQ(ask([](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Escape); }),
              ModalAnswer::Other);
}

TEST(MessageBoxQuestion, TakesClosingForNo)
{
    EXPECT_EQ(ask([](QMessageBox &box) { box.close(); }), ModalAnswer::Other);
}

} // namespace
} // namespace Tarnwick
