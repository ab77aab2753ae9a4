#pragma once

#include "ceditoverlay.h"
#include "chexeditor.h"

#include <QPlainTextEdit>
#include <QTest>

/// Types a byte over with the keyboard. It is written when the window's delay is over.
/// @param address  where a row of the window begins
inline void TypeByte(CHexEditor &memory, std::uint32_t address, std::uint8_t value)
{
    memory.GoTo(address, true, false);
    const QString digits = QStringLiteral("%1").arg(value, 2, 16, QLatin1Char('0'));
    QTest::keyClick(memory.findChild<QPlainTextEdit *>(), digits.front().toLatin1());
    auto *const overlay = memory.findChild<CEditOverlay *>();
    QTest::keyClick(overlay, digits.back().toLatin1());
    QTest::keyClick(overlay, Qt::Key_Return);
}
