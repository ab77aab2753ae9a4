#pragma once

#include "addressbox.h"
#include "ceditoverlay.h"
#include "cellmap.h"
#include "chexeditor.h"
#include "cmemdialog.h"
#include "faketarget.h"
#include "paintrecorder.h"
#include "tablerows.h"
#include "testfile.h"

#include <QtWidgets>

#include <functional>
#include <memory>

inline constexpr std::uint64_t kBase = 0x2000'0000;
inline constexpr const char *kBinary = "application/octet-stream";

/// Calls something once whatever is opened now has its event loop running.
inline void WhenOpen(const std::function<void()> &then)
{
    QTimer::singleShot(0, qApp, then);
}

/// A memory window on a first start, at kBase of a fake target with the bytes 00 01 02 ... there:
/// 16 bytes a row, 20 rows and three pixels of one more. What a user does with it and sees of it.
struct MemTestWindow {
    struct FirstStart {
        FirstStart()
        {
            QSettings().clear();
            QGuiApplication::clipboard()->clear();
        }
    } firstStart;
    FakeTarget target;
    std::unique_ptr<CHexEditor> owner = std::make_unique<CHexEditor>();
    CHexEditor &window = *owner;
    QPlainTextEdit *view = window.findChild<QPlainTextEdit *>("pTextEditor");
    QScrollBar *scrollBar = window.findChild<QScrollBar *>("pScrollBar");
    CEditOverlay *overlay = window.findChild<CEditOverlay *>();
    QComboBox *addressBox = window.findChild<QComboBox *>("pEditBoxAddr");
    QComboBox *rates = window.findChild<QComboBox *>("pRefreshBox");
    int widthPx = view->fontMetrics().horizontalAdvance(u'0'); // of a character cell
    int heightPx = view->fontMetrics().height();
    bool bigEndian = false;

    MemTestWindow()
    {
        for (std::uint64_t i = 0; i < 4096; ++i)
            target.Set(kBase + i, std::uint8_t(i));
        window.SetCallbacks(target.Callbacks());
        window.SetFeatureFlags(kFeatureRefresh | kFeatureLoad | kFeatureAccessWidth);
        window.resize(900, 400);
        window.show();
        window.activateWindow();
        view->setFocus();
        ResizeView(118, 20);
        GoTo(kBase);
    }

    /// Lets everything happen that is due. A single pass may end between two parts of a read: the
    /// window cuts one that takes long, and on a loaded machine any may.
    MemTestWindow &Settled()
    {
        constexpr int limitMs = 10'000; // returns at once when nothing is due any more
        QApplication::processEvents(QEventLoop::AllEvents, limitMs);
        return *this;
    }
    /// Gives the view room for so many characters, rows and three pixels.
    void ResizeView(int columns, int rows)
    {
        const QSize size(columns * widthPx, rows * heightPx + 3);
        window.resize(window.size() + size - view->size());
    }
    /// Jumps and forgets the reads so far.
    void GoTo(std::uint64_t address)
    {
        Settled().window.GoTo(address, true, false);
        Settled();
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
            Settled();
        }
    }
    /// As often, while the byte @30 changes.
    void TickAndChange(int times)
    {
        for (; times > 0; --times) {
            target.Set(kBase + 0x30, std::uint8_t(times));
            Tick();
        }
        target.reads.clear();
    }

    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(view, key, modifiers);
    }
    static void WheelOver(QWidget *widget, int units)
    {
        QWheelEvent event({5, 5}, widget->mapToGlobal(QPointF(5, 5)), {}, {0, units}, Qt::NoButton,
            Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(widget, &event);
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
    /// @param toEdit  the keys go to the edit field itself, as an assistive program sends them
    void EnterAddress(const QString &text, bool toEdit = false)
    {
        addressBox->setFocus();
        addressBox->lineEdit()->selectAll();
        QWidget *const receiver
            = toEdit ? static_cast<QWidget *>(addressBox->lineEdit()) : QApplication::focusWidget();
        QTest::keyClicks(receiver, text);
        QTest::keyClick(receiver, Qt::Key_Return);
    }
    static void PutOnClipboard(const QString &type, const QByteArray &bytes)
    {
        auto *data = new QMimeData;
        data->setData(type, bytes);
        QGuiApplication::clipboard()->setMimeData(data);
    }

    /// The rows as a reader sees them, from all the texts that are drawn.
    QStringList Rows() const
    {
        QStringList rows;
        for (const PaintRecorder::Text &text : PaintRecorder::Record(*view->viewport())) {
            const int row = int(text.baseline.y()) / heightPx;
            const int column = (int(text.baseline.x()) - 2) / widthPx;
            rows.resize(std::max<qsizetype>(rows.size(), row + 1));
            rows[row]
                = rows[row].leftJustified(column).replace(column, text.text.size(), text.text);
        }
        return rows;
    }
    QString Row(int row) const { return Rows().value(row).trimmed(); }
    /// The digits of the item at an address.
    QString Item(std::uint64_t address)
    {
        const CellMap cells = Cells();
        return Row(int(cells.RowOfAddress(address)))
            .mid(cells.ItemColumn(address), 2 * window.BytesPerItem());
    }
    PageRange LastRead() const { return {target.reads.back().address, target.reads.back().length}; }
    /// A number as scripts write it: @34 is 0x34 behind kBase.
    static QString HexText(std::uint64_t number)
    {
        const bool isNear = number - kBase < 0x1000;
        return (isNear ? "@" : "")
            + QString::number(isNear ? number - kBase : number, 16).toUpper();
    }
    /// "address:bytes" for each write since the last look, with its width and zone if it has them.
    QString TakeWrites()
    {
        QStringList writes;
        for (const FakeTarget::Call &write : std::exchange(target.writes, {}))
            writes << HexText(write.address) + u':' + write.written.toHex().toUpper() + How(write);
        return writes.join(u' ');
    }
    static QString How(const FakeTarget::Call &call)
    {
        return (call.accessWidth != 0 ? u'/' + QString::number(call.accessWidth) : QString())
            + (call.zone.isEmpty() ? QString() : u'@' + QString(call.zone));
    }
    QString TakeMessages() { return std::exchange(target.messages, {}).join(u'|'); }
    static QByteArray ClipboardData(const char *type)
    {
        return QGuiApplication::clipboard()->mimeData()->data(QLatin1String(type));
    }

private:
    ViewGeometry m_geometry;
};
