// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/MessageBoxQuestion.h"

#include <QMessageBox>
#include <QPushButton>

namespace Tarnwick {

ModalAnswer askInMessageBox(const ModalQuestion &question)
{
    QMessageBox box(QMessageBox::Information, QStringLiteral("Tarnwick"), question.message);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(question.informativeText);
    QPushButton *const first = box.addButton(question.firstButton, QMessageBox::AcceptRole);
    QPushButton *const second = box.addButton(question.secondButton, QMessageBox::RejectRole);
    box.setDefaultButton(first);
    box.setEscapeButton(second);
    box.exec();
    return box.clickedButton() == first ? ModalAnswer::FirstButton : ModalAnswer::Other;
}

} // namespace Tarnwick
