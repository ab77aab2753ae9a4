#include "chexeditor.h"

#include "addressbox.h"
#include "ceditoverlay.h"
#include "windowtitle.h"

#include <QAbstractButton>
#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QCursor>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPlainTextEdit>
#include <QWheelEvent>

#include <array>

CHexEditor::CHexEditor(QWidget *parent)
    : QMainWindow(parent)
    , m_actions(this)
    , m_page(m_target)
    , m_surface(this, m_page)
    , m_bar(*new AddressScrollBar(this))
    , m_cursor(m_page)
    , m_edit(m_target, m_page, m_cursor, m_surface)
    , m_toolBar(*new MemToolBar(m_actions, this))
    , m_refresh(m_actions, m_page, m_toolBar)
    , m_commands(
          {*this, m_target, m_page, m_surface, m_cursor, m_edit, m_actions, m_toolBar, m_refresh})
    , m_accessible(m_page, m_cursor, m_surface)
{
    setObjectName(QStringLiteral("HexEditor"));
    m_surface.SetMarks(m_cursor, m_edit.Pending());
    BuildLayout();
    ConnectOwners();
    ConnectWidgets();
    ConnectActions();
    SetFeatureFlags(0);
    m_surface.SetFont(font());
    m_commands.LoadSettings();
    UpdateWindowTitle();
}

CHexEditor::~CHexEditor()
{
    m_edit.End(EditEnd::Keep);
    m_edit.WriteOut(); // nothing typed is lost with the window
    m_commands.SaveSettings();
    m_target.Messages().Show();
    m_target.SetCallbacks({});
}

void CHexEditor::BuildLayout()
{
    setContextMenuPolicy(Qt::CustomContextMenu);
    auto *central = new QWidget(this);
    central->setObjectName(QStringLiteral("pCentralWidget"));
    auto *layout = new QHBoxLayout(central);
    layout->setObjectName(QStringLiteral("pHLayout"));
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_bar.setObjectName(QStringLiteral("pScrollBar"));
    layout->addWidget(m_surface.Widget());
    layout->addWidget(&m_bar);
    setCentralWidget(central);
    setFocusProxy(m_surface.Widget());
    addToolBar(Qt::TopToolBarArea, &m_toolBar);
}

void CHexEditor::ConnectOwners()
{
    const auto showPage = [this] { m_bar.ShowPage(m_page.Base(), m_page.Geometry()); };
    connect(&m_page, &MemoryPage::Moved, this, showPage);
    connect(&m_page, &MemoryPage::AllChanged, this, showPage);
    connect(&m_page, &MemoryPage::Moved, this, &CHexEditor::UpdateWindowTitle);
    connect(&m_refresh, &RefreshChoice::Changed, this, &CHexEditor::UpdateWindowTitle);
    connect(&m_commands, &MemCommands::ZoneChanged, this, &CHexEditor::UpdateWindowTitle);
    connect(&m_commands, &MemCommands::ZoneChosen, this, &CHexEditor::OnMemZoneMenuActionTriggered);
    connect(&m_commands, &MemCommands::Failed, this, &CHexEditor::CommandFailed);
    connect(&m_commands, &MemCommands::ItemFormatChanged, this, &CHexEditor::OnItemFormatChanged);
    connect(
        &m_bar, &AddressScrollBar::AddressWanted, &m_page, [this](quint64 address, bool isDrag) {
            isDrag ? m_page.DragTo(address) : m_page.MoveTo(address, PageRead::Missing);
        });
    connect(&m_refresh.Timer(), &QTimer::timeout, this, &CHexEditor::OnAutoUpdateTimerTimeout);
    connect(&m_edit.WriteTimer(), &QTimer::timeout, this, &CHexEditor::OnEditUpdateTimerTimeout);
    connect(&m_cursor.AutoScrollTimer(), &QTimer::timeout, this,
        &CHexEditor::OnAutoScrollSelectionTimerTimeout);
    connect(&m_page.ResizeTimer(), &QTimer::timeout, this, &CHexEditor::OnResizeTimerTimeout);
}

void CHexEditor::ConnectWidgets()
{
    m_surface.Widget()->installEventFilter(this);
    m_surface.Viewport()->installEventFilter(this);
    connect(&m_bar, &QScrollBar::actionTriggered, this, &CHexEditor::OnScrollbarActionTriggered);
    connect(&m_bar, &QScrollBar::sliderReleased, this, &CHexEditor::OnScrollbarReleased);
    AddressBox *addresses = &m_toolBar.Addresses();
    connect(addresses->lineEdit(), &QLineEdit::returnPressed, this,
        &CHexEditor::OnAddrBoxEditingFinished);
    connect(
        addresses, &QComboBox::currentIndexChanged, this, &CHexEditor::OnAddrBoxEditingFinished);
    connect(addresses, &QComboBox::activated, this, [this, addresses] {
        if (addresses->TakeRepeatedChoice())
            OnAddrBoxEditingFinished();
    });
    connect(
        &m_refresh.Box(), &QComboBox::currentIndexChanged, this, &CHexEditor::OnRefreshRateChanged);
    if (QAbstractButton *button = m_toolBar.ExtensionButton())
        connect(button, &QAbstractButton::clicked, this, &CHexEditor::OnToolbarChevronClicked);
    connect(&m_edit.Box(), &CEditOverlay::Closed, this, &CHexEditor::OnItemEditingFinished);
    connect(this, &QWidget::customContextMenuRequested, this, &CHexEditor::OnContextMenuRequested);
}

void CHexEditor::ConnectActions()
{
    struct Row {
        MemAction action;
        void (CHexEditor::*slot)();
    };
    constexpr std::array kRows = {
        Row{MemAction::View1ByteItems, &CHexEditor::OnActionViewFormatTriggered},
        Row{MemAction::View2ByteItems, &CHexEditor::OnActionViewFormatTriggered},
        Row{MemAction::View4ByteItems, &CHexEditor::OnActionViewFormatTriggered},
        Row{MemAction::Goto, &CHexEditor::OnActionGotoTriggered},
        Row{MemAction::Access1ByteItems, &CHexEditor::OnActionAccessWidthTriggered},
        Row{MemAction::Access2ByteItems, &CHexEditor::OnActionAccessWidthTriggered},
        Row{MemAction::Access4ByteItems, &CHexEditor::OnActionAccessWidthTriggered},
        Row{MemAction::AccessAuto, &CHexEditor::OnActionAccessWidthTriggered},
        Row{MemAction::Fill, &CHexEditor::OnActionFillTriggered},
        Row{MemAction::Save, &CHexEditor::OnActionSaveTriggered},
        Row{MemAction::Load, &CHexEditor::OnActionLoadTriggered},
        Row{MemAction::AutoRefresh, &CHexEditor::OnActionAutoRefreshTriggered},
        Row{MemAction::ShowToolbar, &CHexEditor::OnActionShowToolbarTriggered},
        Row{MemAction::ViewData, &CHexEditor::OnActionViewDataTriggered},
        Row{MemAction::Copy, &CHexEditor::OnActionCopyTriggered},
        Row{MemAction::Paste, &CHexEditor::OnActionPasteTriggered},
        Row{MemAction::CopyText, &CHexEditor::OnActionCopyTextTriggered},
        Row{MemAction::CopyHex, &CHexEditor::OnActionCopyHexTriggered},
        Row{MemAction::CopyBinary, &CHexEditor::OnActionCopyBinaryTriggered},
        Row{MemAction::CopyIntList, &CHexEditor::OnActionCopyIntListTriggered},
        Row{MemAction::GoBack, &CHexEditor::OnActionGoBackTriggered},
    };
    static_assert(kRows.size() == kMemActionCount);
    for (const Row &row : kRows)
        connect(m_actions[row.action], &QAction::triggered, this, row.slot);
}

void CHexEditor::SetCallbacks(const MemoryCallbacks &callbacks)
{
    m_target.SetCallbacks(callbacks);
    if (m_surface.Widget()->isVisible())
        UpdateFromTarget();
}

void CHexEditor::UpdateWindowTitle()
{
    const std::uint64_t top = m_page.Cache().Range().base;
    const QString title = WindowTitle(
        top != 0 ? top : m_page.Base(), m_refresh.RateText(), QString::fromLatin1(m_target.Zone()));
    if (title != windowTitle())
        setWindowTitle(title);
}

void CHexEditor::AddZoneMenu(QMenu *menu)
{
    if (QMenu *zones = m_commands.AddZoneMenu(menu))
        connect(zones, &QMenu::triggered, this, &CHexEditor::OnMemZoneMenuActionTriggered);
}

bool CHexEditor::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_surface.Viewport())
        return ViewportEvent(event);
    if (watched == m_surface.Widget())
        return ViewEvent(event);
    return QMainWindow::eventFilter(watched, event);
}

bool CHexEditor::ViewportEvent(QEvent *event)
{
    switch (event->type()) {
    case QEvent::Paint:
        m_surface.Expose(static_cast<QPaintEvent *>(event)->region());
        return OnPaint(m_surface.Viewport());
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
        OnDragEnter(static_cast<QDragEnterEvent *>(event));
        return true;
    case QEvent::DragMove:
        m_commands.OfferDrop(static_cast<QDragMoveEvent *>(event));
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
        OnSizeChanged(m_surface.Widget()->width(), m_surface.Widget()->height());
        return false;
    case QEvent::Show:
        OnShow();
        return false;
    case QEvent::FocusIn:
        m_cursor.TakeFocus();
        m_accessible.TakeFocus();
        return false;
    case QEvent::FocusOut:
        m_cursor.LoseFocus();
        return false;
    case QEvent::ContextMenu:
        if (static_cast<QContextMenuEvent *>(event)->reason() != QContextMenuEvent::Keyboard)
            return false;
        OnContextMenuRequested(m_surface.Viewport()->mapTo(this, m_cursor.MenuCell()));
        return true;
    case QEvent::ShortcutOverride: // the text widget must not take Ctrl+C and similar keys
        event->ignore();
        return true;
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
        auto *key = static_cast<QKeyEvent *>(event);
        if (MeaningOf(key->key(), key->modifiers()) == MemKey::NextControl)
            return false;
        OnKeyEvent(key);
        return true;
    }
    default:
        return false;
    }
}

void CHexEditor::OnKeyEvent(QKeyEvent *event)
{
    const MemKey meaning = MeaningOf(event->key(), event->modifiers());
    if (event->type() == QEvent::KeyRelease) {
        if (event->isAutoRepeat())
            return;
        if (event->key() == Qt::Key_PageUp)
            OnKeyPageUpReleased();
        else if (event->key() == Qt::Key_PageDown)
            OnKeyPageDownReleased();
        else if (event->key() == Qt::Key_Shift)
            m_cursor.ReleaseShift();
        return;
    }
    const bool keepsShift = meaning == MemKey::Shift || meaning == MemKey::Modifier
        || (meaning <= MemKey::LastPage && event->modifiers().testFlag(Qt::ShiftModifier));
    if (!keepsShift)
        m_cursor.DropShift();
    struct Row {
        MemKey key;
        void (CHexEditor::*slot)(QKeyEvent *);
    };
    constexpr std::array kSlots = {
        Row{MemKey::Up, &CHexEditor::OnKeyUpPressed},
        Row{MemKey::Down, &CHexEditor::OnKeyDownPressed},
        Row{MemKey::Right, &CHexEditor::OnKeyRightPressed},
        Row{MemKey::Left, &CHexEditor::OnKeyLeftPressed},
        Row{MemKey::PageDown, &CHexEditor::OnKeyPageDownPressed},
        Row{MemKey::PageUp, &CHexEditor::OnKeyPageUpPressed},
        Row{MemKey::RowHome, &CHexEditor::OnHomeKeyPressed},
        Row{MemKey::FirstPage, &CHexEditor::OnHomeKeyPressed},
        Row{MemKey::RowEnd, &CHexEditor::OnEndKeyPressed},
        Row{MemKey::LastPage, &CHexEditor::OnEndKeyPressed},
        Row{MemKey::Escape, &CHexEditor::OnEscapeKeyPressed},
        Row{MemKey::Paste, &CHexEditor::OnKeyPastePressed},
        Row{MemKey::Typed, &CHexEditor::OnKeyOtherPressed},
    };
    for (const Row &row : kSlots) {
        if (row.key == meaning)
            return (this->*row.slot)(event);
    }
    if (meaning == MemKey::Copy)
        OnActionCopyHexTriggered();
    else if (meaning == MemKey::Shift)
        m_cursor.PressShift();
    else if (meaning == MemKey::Menu)
        OnContextMenuRequested(m_surface.Viewport()->mapTo(this, m_cursor.MenuCell()));
    else
        event->ignore();
}

void CHexEditor::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        m_surface.SetFont(font());
}

void CHexEditor::closeEvent(QCloseEvent *event)
{
    if (m_edit.Settle() == Settled::Here)
        QMainWindow::closeEvent(event);
}
