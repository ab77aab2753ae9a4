#include "mainwindow.h"

#include <QAction>
#include <QGuiApplication>
#include <QLabel>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>

namespace {

constexpr QSize kMinimumSize(400, 240);
constexpr QSize kInitialSize(1000, 720);
constexpr std::array<int, kStatusFields> kStatusStretch = {5, 2, 3, 2};

struct MenuEntry {
    const char *menu;
    const char *text;
    const char *shortcut; ///< null for none
    const char *statusTip;
    void (MainWindow::*slot)();
};

constexpr std::array kMenuEntries = {
    MenuEntry{"&File", "&Exit", "Alt+F4", "End the application", &MainWindow::_OnActionExit},
    MenuEntry{"&Target", "&Connect", nullptr, "Connect to target", &MainWindow::_OnActionConnect},
    MenuEntry{"&Target", "&Disconnect", nullptr, "Disconnect from target",
        &MainWindow::_OnActionDisconnect},
    MenuEntry{"&Options", "&General...", nullptr, "Configure target connection settings",
        &MainWindow::_OnActionGeneral},
    MenuEntry{"&Help", "&About...", nullptr, "Show the about box", &MainWindow::_OnActionAbout},
};

} // namespace

void MainWindow::BuildMenus()
{
    QMenu *menu = nullptr;
    for (const MenuEntry &entry : kMenuEntries) {
        const QString title = QString::fromLatin1(entry.menu);
        if (menu == nullptr || menu->title() != title)
            menu = menuBar()->addMenu(title);
        QAction *const action = menu->addAction(QString::fromLatin1(entry.text));
        if (entry.shortcut != nullptr)
            action->setShortcut(QKeySequence(QString::fromLatin1(entry.shortcut)));
        action->setStatusTip(QString::fromLatin1(entry.statusTip));
        connect(action, &QAction::hovered, this, &MainWindow::_OnHoverAction);
        connect(action, &QAction::triggered, this, entry.slot);
        if (entry.slot == &MainWindow::_OnActionConnect)
            m_actionConnect = action;
        else if (entry.slot == &MainWindow::_OnActionDisconnect)
            m_actionDisconnect = action;
    }
    // The toolkit's own button for the menus that do not fit.
    if (auto *more = menuBar()->findChild<QWidget *>(QStringLiteral("qt_menubar_ext_button")))
        more->setAccessibleName(tr("More menus"));
}

void MainWindow::BuildStatusBar()
{
    QStatusBar *const bar = statusBar();
    bar->setStyleSheet(QStringLiteral("QStatusBar{border-top: 1px outset grey;}"));
    for (unsigned i = 0; i < kStatusFields; ++i) {
        auto *const label = new QLabel;
        label->setTextFormat(Qt::PlainText);
        // A long text must neither widen the window nor push the other fields about.
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        bar->addPermanentWidget(label, kStatusStretch[i]);
        m_labels[i] = label;
    }
}

void MainWindow::ConnectSignals()
{
    connect(this, &MainWindow::Signal_UpdateGUI, this, &MainWindow::_Slot_OnGUIUpdate,
        Qt::QueuedConnection);
    connect(this, &MainWindow::Signal_UpdateMemWindow, this, &MainWindow::_Slot_OnMemWindowUpdate,
        Qt::QueuedConnection);
    connect(this, &MainWindow::Signal_UpdateShowError, this, &MainWindow::_Slot_OnShowError,
        Qt::QueuedConnection);
    connect(this, &MainWindow::Signal_UpdateShowWarning, this, &MainWindow::_Slot_OnShowWarning,
        Qt::QueuedConnection);
}

void MainWindow::PlaceOnScreen()
{
    setMinimumSize(kMinimumSize);
    const QRect available = screen()->availableGeometry();
    resize(kInitialSize.boundedTo(available.size()));
    QRect frame = frameGeometry();
    frame.moveCenter(available.center());
    move(frame.topLeft());
}
