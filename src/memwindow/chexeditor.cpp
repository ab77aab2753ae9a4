#include "chexeditor.h"
#include "addressbox.h"
#include "ceditoverlay.h"

#include <QAction>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTimer>
#include <QWheelEvent>

CHexEditor::CHexEditor(QWidget *parent)
    : QMainWindow(parent)
    , m_actions(this)
    , m_cache(m_slot.Data(), m_slot.Status())
{
    BuildWidgets();
    BuildToolBar();
    BuildRefreshControls();
    ConnectSignals();
    SetFeatureFlags(0);
    SetViewFont(font());
    UpdateBackAction();
    LoadSettings();
    UpdateWindowTitle();
}

CHexEditor::~CHexEditor()
{
    FinishEdit();
    WritePending(); // nothing typed is lost with the window
    SaveSettings();
}

void CHexEditor::SetCallbacks(const MemoryCallbacks &callbacks)
{
    m_target.SetCallbacks(callbacks);
    if (m_pView->isVisible())
        UpdateFromTarget();
}

void CHexEditor::SetFeatureFlags(std::uint32_t flags)
{
    m_featureFlags = flags;
    ShowRefreshControls((flags & kFeatureRefresh) != 0);
    m_actions[MemAction::Load]->setVisible((flags & kFeatureLoad) != 0);
    m_actions.ShowAccessWidths((flags & kFeatureAccessWidth) != 0);
    if ((flags & kFeatureAccessWidth) == 0)
        SetAccessWidth(0);
}

void CHexEditor::SetBigEndian(bool bigEndian)
{
    m_bigEndian = bigEndian;
    InvalidateView();
}

void CHexEditor::SetBytesPerItem(int bytesPerItem)
{
    if (bytesPerItem == m_geometry.BytesPerItem())
        return;
    m_geometry.SetBytesPerItem(bytesPerItem);
    m_actions.CheckBytesPerItem(static_cast<std::uint8_t>(bytesPerItem));
    OnItemFormatChanged();
}

void CHexEditor::OnItemFormatChanged()
{
    m_pOverlay->HideOverlay();
    UpdateGeometry();
    InvalidateView();
    RefreshPage(PageRead::Whole);
}

void CHexEditor::SetAccessWidth(std::uint8_t bytes)
{
    m_actions.CheckAccessWidth(bytes);
    if (bytes == m_target.AccessWidth())
        return;
    m_target.SetAccessWidth(bytes);
    RefreshPage(PageRead::Whole);
}

int CHexEditor::ReadTarget(
    std::uint64_t address, std::uint64_t length, std::uint8_t *bytes, ByteStatus *status)
{
    return m_target.Read(address, {bytes, length}, {status, length}, BytesPerRow());
}

int CHexEditor::WriteTarget(std::uint64_t address, std::uint64_t length, const std::uint8_t *bytes)
{
    return m_target.Write(address, {bytes, length});
}

int CHexEditor::ReadCached(
    std::uint64_t address, std::uint64_t length, std::uint8_t *bytes, ByteStatus *status) const
{
    return m_cache.ReadCached(address, {bytes, length}, {status, length});
}

std::int64_t CHexEditor::CachedItemValue(std::uint64_t address) const
{
    return m_cache.ItemValue(address, BytesPerItem(), m_bigEndian);
}

bool CHexEditor::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_pView->viewport())
        return ViewportEvent(event);
    if (watched == m_pView)
        return ViewEvent(event);
    return QMainWindow::eventFilter(watched, event);
}

bool CHexEditor::ViewportEvent(QEvent *event)
{
    switch (event->type()) {
    case QEvent::Paint: {
        m_paintRegion = static_cast<QPaintEvent *>(event)->region();
        const bool painted = OnPaint(m_pView->viewport());
        m_paintRegion = {};
        return painted;
    }
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        OnMouseButtonPressed(static_cast<QMouseEvent *>(event));
        return true;
    case QEvent::MouseButtonRelease:
        OnMouseButtonReleased(static_cast<QMouseEvent *>(event));
        return true;
    case QEvent::MouseMove:
        OnMouseMoved(static_cast<QMouseEvent *>(event));
        return true;
    case QEvent::Wheel:
        OnMouseWheelScrolled(static_cast<QWheelEvent *>(event));
        return true;
    case QEvent::DragEnter:
    case QEvent::DragMove:
        OnDragEnter(static_cast<QDragEnterEvent *>(event));
        return true;
    case QEvent::Drop:
        OnDragDrop(static_cast<QDropEvent *>(event));
        return true;
    default:
        return false;
    }
}

bool CHexEditor::ViewEvent(QEvent *event)
{
    switch (event->type()) {
    case QEvent::Resize:
        OnSizeChanged(m_pView->width(), m_pView->height());
        return false;
    case QEvent::Show:
        OnShow();
        return false;
    case QEvent::FocusOut: // the release of a held page key goes elsewhere now
        if (m_pageKeyHeld)
            OnKeyPageDownReleased();
        return false;
    case QEvent::ContextMenu:
        if (static_cast<QContextMenuEvent *>(event)->reason() != QContextMenuEvent::Keyboard)
            return false;
        OpenMenuAtCursor();
        return true;
    case QEvent::ShortcutOverride: // the text widget must not claim Ctrl+C and its like
        event->ignore();
        return true;
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        auto *keyEvent = static_cast<QKeyEvent *>(event);
        if (keyEvent->key() == Qt::Key_Tab || keyEvent->key() == Qt::Key_Backtab)
            return false; // on to the next control
        if (keyEvent->key() == Qt::Key_F10 && keyEvent->modifiers() == Qt::ShiftModifier) {
            if (event->type() == QEvent::KeyPress)
                OpenMenuAtCursor();
            return true;
        }
        OnKeyEvent(keyEvent);
        return true;
    }
    default:
        return false;
    }
}

void CHexEditor::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::FontChange && !m_settingFont && m_pView != nullptr)
        SetViewFont(font());
}

void CHexEditor::closeEvent(QCloseEvent *event)
{
    const QPointer<CHexEditor> self = this;
    SettleEdits();
    if (self)
        QMainWindow::closeEvent(event);
}

void CHexEditor::OnShow()
{
    UpdateGeometry();
    m_pResizeTimer->stop(); // nothing is left for it to read
    if (m_jumpPending)
        GoTo(m_requestedAddress, true, false);
    else if (m_cache.Range() != m_geometry.PageAt(m_baseAddress))
        RefreshPage(PageRead::Whole);
}

void CHexEditor::OnSizeChanged(int, int)
{
    m_pOverlay->HideOverlay();
    m_pAddressBox->UpdateMinimumWidth();
    UpdateGeometry();
    m_pResizeTimer->start(); // reads once, when the user has stopped
}

void CHexEditor::OnResizeTimerTimeout()
{
    if (m_jumpPending)
        GoTo(m_requestedAddress, true, false);
    else
        RefreshPage(PageRead::Whole);
}
