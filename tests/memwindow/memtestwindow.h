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
#include <QSettings>
#include <QtTest>

#include <map>
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
    CEditOverlay *overlay = window.findChild<CEditOverlay *>();
    QComboBox *addressBox = window.findChild<QComboBox *>("pEditBoxAddr");
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

    void GoTo(std::uint64_t address)
    {
        window.GoTo(address, true, false);
        QApplication::processEvents();
        target.reads.clear();
    }
    void SetBytesPerItem(int bytes) { window.SetBytesPerItem(bytes); }
    void SetBigEndian(bool isBigEndian)
    {
        bigEndian = isBigEndian;
        window.SetBigEndian(isBigEndian);
    }
    QAction *Action(const char *name) const
    {
        return window.findChild<QAction *>(QStringLiteral("pActionMemory") + QLatin1String(name));
    }

    /// Where the window's bytes stand, worked out from its size alone.
    CellMap Cells()
    {
        m_geometry.SetCharacterSize(widthPx, heightPx);
        m_geometry.SetBytesPerItem(window.BytesPerItem());
        m_geometry.SetViewSize(view->width(), view->height());
        return {m_geometry, window.BaseAddress(), bigEndian};
    }
    QPoint CellCentre(int row, int column) const
    {
        return {2 + column * widthPx + widthPx / 2, row * heightPx + heightPx / 2};
    }
    void Click(int row, int column) const
    {
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, CellCentre(row, column));
    }
    /// Drags the mouse from one byte's first cell to another's last.
    void Select(std::uint64_t from, std::uint64_t to)
    {
        const CellMap cells = Cells();
        const auto centre = [&](std::uint64_t address) {
            return CellCentre(int(cells.RowOfAddress(address)), cells.HexColumn(address, 0));
        };
        QTest::mousePress(view->viewport(), Qt::LeftButton, {}, centre(from));
        QMouseEvent move(QEvent::MouseMove, centre(to) + QPoint(6, 0),
            view->viewport()->mapToGlobal(centre(to)), Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(view->viewport(), &move);
        QApplication::sendEvent(view->viewport(), &move);
        QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, centre(to));
    }

    /// The text that a row is painted with.
    QString Row(int row) const
    {
        for (const PaintRecorder::Text &text : PaintRecorder::Record(*view->viewport())) {
            if (int(text.baseline.y()) / heightPx == row && text.text.size() > 10)
                return text.text.trimmed();
        }
        return QStringLiteral("<no such row>");
    }
    /// The digits of the item at an address.
    QString Item(std::uint64_t address)
    {
        const CellMap cells = Cells();
        return Row(int(cells.RowOfAddress(address)))
            .mid(cells.ItemColumn(address), 2 * window.BytesPerItem());
    }
    /// "address:bytes" for each write so far.
    QString Writes() const
    {
        QStringList writes;
        for (const FakeTarget::Call &write : target.writes)
            writes << QString::number(write.address, 16).toUpper() + u':'
                    + QString::fromLatin1(write.written.toHex().toUpper());
        return writes.join(u' ');
    }

private:
    ViewGeometry m_geometry;
};
