#include "addressbox.h"
#include "ceditoverlay.h"
#include "chexeditor.h"
#include "hexnumber.h"
#include "memicon.h"
#include "windowsettings.h"

#include <QAbstractButton>
#include <QAction>
#include <QCursor>
#include <QDropEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>
#include <QStyle>
#include <QTimer>
#include <QToolBar>
#include <QUrl>

namespace {

// A click on the extension button first closes an open menu, then arrives here. So soon after the
// close it is that click, not a new one.
constexpr qint64 kReopenGuardMs = 200;

/// The one local file of a drag, or an empty text.
QString DraggedFile(const QMimeData &contents)
{
    const QList<QUrl> urls = contents.urls();
    return urls.size() == 1 ? urls.first().toLocalFile() : QString();
}

/// The hexadecimal address of a dragged text, or an empty text.
QString DraggedAddress(const QMimeData &contents)
{
    const QString text
        = contents.hasText() && !contents.hasUrls() ? contents.text().trimmed() : QString();
    return ParseHexNumber(text) ? text : QString();
}

} // namespace

void CHexEditor::BuildToolBar()
{
    const int iconPx = style()->pixelMetric(QStyle::PM_SmallIconSize);
    m_pToolBar->setIconSize(QSize(iconPx, iconPx));
    auto *label = new QLabel(tr(" Go To:"), m_pToolBar);
    m_pAddressBox = new AddressBox(m_pToolBar);
    label->setBuddy(m_pAddressBox);
    m_pToolBar->addWidget(label);
    m_pToolBar->addWidget(m_pAddressBox);
    m_actions.FillToolBar(*m_pToolBar);
    // The style's own picture is black on every palette.
    if (QAbstractButton *button = ExtensionButton())
        button->setIcon(MemIcon("more"));
}

/// The button that the tool bar shows while not all of it fits.
QAbstractButton *CHexEditor::ExtensionButton() const
{
    return m_pToolBar->findChild<QAbstractButton *>(QStringLiteral("qt_toolbar_ext_button"));
}

void CHexEditor::OnActionViewFormatTriggered()
{
    FinishEdit();
    SetBytesPerItem(m_actions.CheckedBytesPerItem());
}

void CHexEditor::OnActionAccessWidthTriggered()
{
    SetAccessWidth(m_actions.CheckedAccessWidth());
}

void CHexEditor::OnActionShowToolbarTriggered()
{
    const bool visible = m_actions[MemAction::ShowToolbar]->isChecked();
    if (!visible && m_pToolBar->isAncestorOf(focusWidget()))
        m_pView->setFocus();
    m_pToolBar->setVisible(visible);
}

void CHexEditor::OnContextMenuRequested(QPoint position)
{
    UpdateBackAction();
    const QPointer<CHexEditor> self = this; // the window may be closed under the menu
    auto *menu = new QMenu(this);
    m_actions.FillContextMenu(*menu, [this](QMenu *parent) { AddZoneMenu(parent); });
    menu->exec(mapToGlobal(position));
    if (!self)
        return;
    menu->deleteLater();
    m_sinceMenuClosed.start();
}

void CHexEditor::OnToolbarChevronClicked()
{
    if (m_sinceMenuClosed.isValid() && !m_sinceMenuClosed.hasExpired(kReopenGuardMs))
        return;
    OnContextMenuRequested(mapFromGlobal(QCursor::pos()));
}

/// Opens the context menu where the cursor is, for those who asked for it with a key.
void CHexEditor::OpenMenuAtCursor()
{
    const CellMap cells = Cells();
    const auto row = std::clamp<std::int64_t>(
        cells.RowOfAddress(m_cursor.address) + 1, 0, std::int64_t{VisibleRows()} - 1);
    const int column = m_cursor.inTextColumn ? cells.TextColumn(m_cursor.address)
                                             : cells.HexColumn(m_cursor.address, m_cursor.digit);
    const QPoint cell(m_geometry.LeftMargin() + column * m_geometry.CharacterWidth(),
        static_cast<int>(row) * m_geometry.LineHeight());
    OnContextMenuRequested(m_pView->viewport()->mapTo(this, cell));
}

bool CHexEditor::AcceptsDrop(const QMimeData &contents) const
{
    const bool loads = (m_featureFlags & kFeatureLoad) != 0;
    return (loads && !DraggedFile(contents).isEmpty()) || !DraggedAddress(contents).isEmpty();
}

void CHexEditor::OnDragEnter(QDragEnterEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(AcceptsDrop(*event->mimeData()));
}

void CHexEditor::OnDragDrop(QDropEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(AcceptsDrop(*event->mimeData()));
    if (!event->isAccepted())
        return;
    const QString address = DraggedAddress(*event->mimeData());
    if (!address.isEmpty()) {
        m_pAddressBox->AddText(address);
        OnAddrBoxEditingFinished();
        return;
    }
    // The dialog opens when the drag is over: the program it came from waits for the answer. A
    // drop writes nothing by itself.
    const QString fileName = DraggedFile(*event->mimeData());
    QTimer::singleShot(0, this, [this, fileName] { LoadFile(fileName); });
}

void CHexEditor::LoadSettings()
{
    const WindowSettings settings = WINSET_Load(objectName());
    GoTo(settings.baseAddress, true, false);
    SetBytesPerItem(settings.bytesPerItem);
    SetAccessWidth(settings.accessWidth);
    m_actions[MemAction::ShowToolbar]->setChecked(settings.showToolbar);
    OnActionShowToolbarTriggered();
    m_pAddressBox->SetItems(settings.addressBoxItems);
    m_lastInputText = settings.lastInputText;
}

void CHexEditor::SaveSettings() const
{
    WindowSettings settings;
    settings.addressBoxItems = m_pAddressBox->Items();
    settings.baseAddress = m_requestedAddress;
    settings.bytesPerItem = static_cast<std::uint8_t>(BytesPerItem());
    settings.accessWidth = m_target.AccessWidth();
    settings.lastInputText = m_lastInputText;
    settings.showToolbar = m_actions[MemAction::ShowToolbar]->isChecked();
    WINSET_Save(objectName(), settings);
}
