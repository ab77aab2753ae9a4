#pragma once

#include "addressbox.h"
#include "ceditoverlay.h"
#include "cellmap.h"
#include "chexeditor.h"
#include "cmemdialog.h"
#include "faketarget.h"
#include "paintrecorder.h"

#include <QAction>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSettings>
#include <QtTest>

#include <memory>

/// A memory window of 16 bytes a row over a fake target, on a first start, and what a user does
/// with it and sees of it.
struct MemTestWindow {
    struct FirstStart {
        FirstStart() { QSettings().clear(); }
    } firstStart;
    FakeTarget target;
    std::unique_ptr<CHexEditor> owner = std::make_unique<CHexEditor>();
    CHexEditor &window = *owner;
    QPlainTextEdit *view = window.findChild<QPlainTextEdit *>("pTextEditor");
    QScrollBar *scrollBar = window.findChild<QScrollBar *>("pScrollBar");
    CEditOverlay *overlay = window.findChild<CEditOverlay *>();
    QComboBox *addressBox = window.findChild<QComboBox *>("pEditBoxAddr");
    QComboBox *rates = window.findChild<QComboBox *>("pRefreshBox");
    int widthPx = 0; // of a character cell
    int heightPx = 0;
    bool bigEndian = false;

    MemTestWindow()
    {
        window.SetCallbacks(target.Callbacks());
        window.SetFeatureFlags(kFeatureRefresh | kFeatureLoad | kFeatureAccessWidth);
        window.resize(900, 400);
        window.show();
        window.activateWindow();
        view->setFocus();
        QApplication::processEvents();
        heightPx = view->fontMetrics().height();
        widthPx = view->fontMetrics().horizontalAdvance(u'0');
    }

    /// Jumps and forgets the reads so far.
    void GoTo(std::uint64_t address)
    {
        window.GoTo(address, true, false);
        QApplication::processEvents();
        target.reads.clear();
    }
    void SetBigEndian(bool isBigEndian)
    {
        bigEndian = isBigEndian;
        window.SetBigEndian(isBigEndian);
    }
    QAction *Action(const char *name) const
    {
        return window.findChild<QAction *>(QStringLiteral("pActionMemory") + QLatin1String(name));
    }
    void Trigger(const char *action) const { Action(action)->trigger(); }
    /// Lets the refresh timer fire, as often as told.
    void Tick(int times = 1)
    {
        for (; times > 0; --times) {
            window.OnAutoUpdateTimerTimeout();
            QApplication::processEvents();
        }
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
    void Mouse(QEvent::Type type, QPoint position, Qt::KeyboardModifiers modifiers = {})
    {
        const bool move = type == QEvent::MouseMove;
        QMouseEvent event(type, position, view->viewport()->mapToGlobal(position),
            move ? Qt::NoButton : Qt::LeftButton,
            type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, modifiers);
        QApplication::sendEvent(view->viewport(), &event);
    }

    /// Where the window's bytes stand, worked out from its size alone.
    CellMap Cells()
    {
        m_geometry.SetCharacterSize(widthPx, heightPx);
        m_geometry.SetBytesPerItem(window.BytesPerItem());
        m_geometry.SetViewSize(view->width(), view->height());
        return {m_geometry, window.BaseAddress(), bigEndian};
    }
    /// The middle of a character cell, in the viewport.
    QPoint CellCentre(int row, int column) const
    {
        return {2 + column * widthPx + widthPx / 2, row * heightPx + heightPx / 2};
    }
    /// The middle of the cell that shows a digit of a byte, or with digit -1 its character.
    QPoint ByteCentre(std::uint64_t address, int digit = 0)
    {
        const CellMap cells = Cells();
        return CellCentre(int(cells.RowOfAddress(address)),
            digit < 0 ? cells.TextColumn(address) : cells.HexColumn(address, digit));
    }
    void ClickByte(std::uint64_t address, int digit = 0)
    {
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, ByteCentre(address, digit));
    }
    /// Drags the mouse from one byte's first cell to another's.
    void Select(std::uint64_t from, std::uint64_t to)
    {
        Mouse(QEvent::MouseButtonPress, ByteCentre(from));
        for (const int offset : {6, 6}) // the first move only starts the selection
            Mouse(QEvent::MouseMove, ByteCentre(to) + QPoint(offset, 0));
        Mouse(QEvent::MouseButtonRelease, ByteCentre(to));
    }

    /// The texts that the rows are painted with, changed bytes and the cursor in their places.
    QStringList Rows() const
    {
        QStringList rows;
        for (const PaintRecorder::Text &text : PaintRecorder::Record(*view->viewport())) {
            const int row = int(text.baseline.y()) / heightPx;
            const int column = (int(text.baseline.x()) - 2) / widthPx;
            rows.resize(std::max(int(rows.size()), row + 1));
            rows[row] = rows[row].leftJustified(column + int(text.text.size()));
            rows[row].replace(column, text.text.size(), text.text);
        }
        return rows;
    }
    QString Row(int row) const
    {
        return Rows().value(row, QStringLiteral("<no such row>")).trimmed();
    }
    /// The digits of the item at an address.
    QString Item(std::uint64_t address)
    {
        const CellMap cells = Cells();
        return Row(int(cells.RowOfAddress(address)))
            .mid(cells.ItemColumn(address), 2 * window.BytesPerItem());
    }
    PageRange LastRead() const { return {target.reads.back().address, target.reads.back().length}; }
    /// "address:bytes" for each write since the last look.
    QString TakeWrites()
    {
        QStringList writes;
        for (const FakeTarget::Call &write : std::exchange(target.writes, {}))
            writes << QString::number(write.address, 16).toUpper() + u':'
                    + QString::fromLatin1(write.written.toHex().toUpper());
        return writes.join(u' ');
    }

private:
    ViewGeometry m_geometry;
};
