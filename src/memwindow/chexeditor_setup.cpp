#include "addressbox.h"
#include "addressscrollbar.h"
#include "ceditoverlay.h"
#include "chexeditor.h"
#include "refreshrates.h"
#include "viewfont.h"

#include <QAbstractButton>
#include <QAction>
#include <QComboBox>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextDocument>
#include <QTimer>
#include <QToolBar>

#include <array>

namespace {

constexpr int kAutoScrollMs = 20;
constexpr int kResizeMs = 500;
constexpr int kEditUpdateMs = 500;

QPlainTextEdit *CreateView(QWidget *parent, int leftMarginPx)
{
    auto *view = new QPlainTextEdit(parent);
    view->setObjectName(QStringLiteral("pTextEditor"));
    view->setAccessibleName(CHexEditor::tr("Memory"));
    // Nothing but a surface: no text, no text cursor that would blink, no scroll bars of its own.
    view->setReadOnly(true);
    view->setTextInteractionFlags(Qt::NoTextInteraction);
    view->setUndoRedoEnabled(false);
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setContextMenuPolicy(Qt::NoContextMenu); // the window's own menu opens instead
    view->setFocusPolicy(Qt::StrongFocus);
    view->setTabChangesFocus(true);
    view->setAcceptDrops(true);
    view->document()->setDocumentMargin(leftMarginPx);
    view->viewport()->setAcceptDrops(true);
    view->viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    view->viewport()->setCursor(Qt::IBeamCursor);
    return view;
}

} // namespace

void CHexEditor::BuildWidgets()
{
    setObjectName(QStringLiteral("HexEditor"));
    setContextMenuPolicy(Qt::CustomContextMenu);
    auto *central = new QWidget(this);
    central->setObjectName(QStringLiteral("pCentralWidget"));
    auto *layout = new QHBoxLayout(central);
    layout->setObjectName(QStringLiteral("pHLayout"));
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_pView = CreateView(central, m_geometry.LeftMargin());
    m_pScrollBar = new AddressScrollBar(central);
    m_pScrollBar->setObjectName(QStringLiteral("pScrollBar"));
    layout->addWidget(m_pView);
    layout->addWidget(m_pScrollBar);
    setCentralWidget(central);
    setFocusProxy(m_pView);

    m_pToolBar = new QToolBar(this);
    m_pToolBar->setObjectName(QStringLiteral("pToolBar"));
    m_pToolBar->setWindowTitle(tr("Toolbar"));
    m_pToolBar->setMovable(false);
    addToolBar(Qt::TopToolBarArea, m_pToolBar);

    m_pOverlay = new CEditOverlay(m_pView);
    m_pEditUpdateTimer = new QTimer(this);
    m_pEditUpdateTimer->setInterval(kEditUpdateMs);
    m_pEditUpdateTimer->setSingleShot(true);
    m_rowPainter.SetLeftMargin(m_geometry.LeftMargin());
    m_pAutoUpdateTimer = new QTimer(this);
    m_pAutoScrollTimer = new QTimer(this);
    m_pAutoScrollTimer->setInterval(kAutoScrollMs);
    m_pResizeTimer = new QTimer(this);
    m_pResizeTimer->setInterval(kResizeMs);
    m_pResizeTimer->setSingleShot(true);
}

void CHexEditor::BuildRefreshControls()
{
    m_pRefreshBox = new QComboBox(m_pToolBar);
    m_pRefreshBox->setObjectName(QStringLiteral("pRefreshBox"));
    for (const RefreshRate &rate : kRefreshRates)
        m_pRefreshBox->addItem(QIcon(), QLatin1Char(' ') + QLatin1String(rate.text));
    m_pRefreshBox->setFrame(false);
    m_pRefreshBox->setEditable(false);
    m_pRefreshBox->setCurrentIndex(m_pRefreshBox->count() - 1);
    m_pRefreshBox->setAccessibleName(tr("Periodic Refresh"));
    m_pRefreshBox->setToolTip(tr("Set Auto Refresh Interval"));
    connect(
        m_pRefreshBox, &QComboBox::currentIndexChanged, this, &CHexEditor::OnRefreshRateChanged);
    auto *label = new QLabel(tr(" Periodic Refresh: "), m_pToolBar);
    label->setBuddy(m_pRefreshBox);
    m_pRefreshLabelAction = m_pToolBar->addWidget(label);
    m_pRefreshBoxAction = m_pToolBar->addWidget(m_pRefreshBox);
    ShowRefreshControls(false);
}

void CHexEditor::ShowRefreshControls(bool visible)
{
    m_actions[MemAction::AutoRefresh]->setVisible(visible);
    m_pRefreshBoxAction->setVisible(visible);
    m_pRefreshLabelAction->setVisible(visible);
    if (!visible)
        SetRefreshInterval(0);
}

void CHexEditor::ConnectSignals()
{
    m_pView->installEventFilter(this);
    m_pView->viewport()->installEventFilter(this);
    connect(
        m_pScrollBar, &QScrollBar::actionTriggered, this, &CHexEditor::OnScrollbarActionTriggered);
    connect(m_pScrollBar, &QScrollBar::sliderReleased, this, &CHexEditor::OnScrollbarReleased);
    connect(m_pAddressBox->lineEdit(), &QLineEdit::returnPressed, this,
        &CHexEditor::OnAddrBoxEditingFinished);
    connect(m_pAddressBox, &QComboBox::currentIndexChanged, this,
        &CHexEditor::OnAddrBoxEditingFinished);
    connect(m_pAddressBox, &QComboBox::activated, this, [this] {
        if (m_pAddressBox->TakeRepeatedChoice())
            OnAddrBoxEditingFinished();
    });
    if (QAbstractButton *button = ExtensionButton())
        connect(button, &QAbstractButton::clicked, this, &CHexEditor::OnToolbarChevronClicked);
    connect(m_pOverlay, &CEditOverlay::Closed, this, &CHexEditor::OnItemEditingFinished);
    connect(m_pAutoUpdateTimer, &QTimer::timeout, this, &CHexEditor::OnAutoUpdateTimerTimeout);
    connect(m_pEditUpdateTimer, &QTimer::timeout, this, &CHexEditor::OnEditUpdateTimerTimeout);
    connect(
        m_pAutoScrollTimer, &QTimer::timeout, this, &CHexEditor::OnAutoScrollSelectionTimerTimeout);
    connect(m_pResizeTimer, &QTimer::timeout, this, &CHexEditor::OnResizeTimerTimeout);
    connect(this, &QWidget::customContextMenuRequested, this, &CHexEditor::OnContextMenuRequested);
    ConnectActions();
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

void CHexEditor::SetViewFont(const QFont &applicationFont)
{
    m_settingFont = true;
    setFont(applicationFont);
    m_settingFont = false;
    const QFont fixedPitch = FixedPitchFont(applicationFont);
    const QFont grid = GridFont(fixedPitch);
    const int widthPx = CharacterWidth(fixedPitch);
    const int heightPx = QFontMetrics(fixedPitch).height();
    m_geometry.SetCharacterSize(widthPx, heightPx);
    m_rowPainter.SetFont(grid, widthPx, heightPx);
    m_pView->setFont(grid);
    m_pOverlay->setFont(grid);
    m_pView->setMinimumWidth(ViewGeometry::kMinimumChars * widthPx);
    UpdateGeometry();
    if (m_pOverlay->isVisible())
        PlaceOverlay();
    InvalidateView();
    if (!m_cache.IsEmpty())
        m_pResizeTimer->start(); // the page holds another number of bytes now
}
