#pragma once

#include "chexeditor.h"
#include "faketarget.h"

#include <QApplication>
#include <QComboBox>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSettings>
#include <QtTest>

/// A memory window on the screen that shows a fake target, 16 bytes a row at first.
struct ShownWindow {
    ShownWindow()
    {
        window.SetCallbacks(target.Callbacks());
        window.SetFeatureFlags(kFeatureRefresh);
        window.resize(900, 400);
        window.show();
        window.activateWindow();
        view->setFocus();
        QApplication::processEvents();
    }

    /// Jumps and forgets the reads so far.
    void GoTo(std::uint64_t address)
    {
        window.GoTo(address, true, false);
        QApplication::processEvents();
        target.reads.clear();
    }
    [[nodiscard]] PageRange LastRead() const
    {
        return {target.reads.back().address, target.reads.back().length};
    }
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(view, key, modifiers);
    }
    void Wheel(int units)
    {
        const QPointF position(50, 50);
        QWheelEvent event(position, view->viewport()->mapToGlobal(position), {}, {0, units},
            Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view->viewport(), &event);
    }
    /// The middle of a character cell, in the viewport.
    [[nodiscard]] QPoint CellCentre(int row, int column) const
    {
        const QFontMetrics metrics(view->font());
        const int width = metrics.horizontalAdvance(QLatin1Char('0'));
        return {2 + column * width + width / 2, row * metrics.height() + metrics.height() / 2};
    }
    void Mouse(QEvent::Type type, QPoint position, Qt::KeyboardModifiers modifiers = {})
    {
        const bool move = type == QEvent::MouseMove;
        QMouseEvent event(type, position, view->viewport()->mapToGlobal(position),
            move ? Qt::NoButton : Qt::LeftButton,
            type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, modifiers);
        QApplication::sendEvent(view->viewport(), &event);
    }

    struct FirstStart {
        FirstStart() { QSettings().clear(); }
    } firstStart; // each window as if no other had left its settings behind
    FakeTarget target;
    CHexEditor window;
    QPlainTextEdit *view = window.findChild<QPlainTextEdit *>("pTextEditor");
    QScrollBar *scrollBar = window.findChild<QScrollBar *>("pScrollBar");
    QComboBox *rates = window.findChild<QComboBox *>("pRefreshBox");
};
