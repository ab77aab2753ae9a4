// What the main window shows: its tips, its memory window, its boxes and their places,
// and what a screen reader calls the controls of all windows.

#include "appharness.h"

#include "aboutdialog.h"
#include "appstate.h"
#include "mainwindow.h"
#include "windowreports.h"
#include "workerring.h"

#include "cdeviceselectiondialog.h"
#include "chexeditor.h"
#include "cmemdialog.h"
#include "configdialog.h"
#include "ipinfodialog.h"
#include "sysevent.h"

namespace {

/// What a screen reader calls a control. A combo box goes by its labels: its name is what it shows.
QString NameOf(QWidget *widget)
{
    QAccessibleInterface *control = QAccessible::queryAccessibleInterface(widget);
    if (qobject_cast<QComboBox *>(widget) == nullptr)
        return control->text(QAccessible::Name);
    QStringList labels;
    for (const auto &[label, relation] : control->relations(QAccessible::Label))
        labels.append(label->text(QAccessible::Name).remove(u':').trimmed());
    return labels.join(u'|');
}

bool IsControl(const QWidget *widget)
{
    // A combo box's line edit or a table's corner is no control of its own.
    const QWidget *parent = widget->parentWidget();
    return (widget->focusPolicy() != Qt::NoFocus || widget->inherits("QAbstractButton"))
        && !parent->inherits("QComboBox") && !parent->inherits("QAbstractItemView");
}

/// The controls of a window, hidden ones as well, without a name of their own.
QStringList Faults(const QWidget *window)
{
    QStringList faults;
    QStringList names;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (!IsControl(widget) || widget->window() != window)
            continue;
        const QString name = NameOf(widget).remove(u'&');
        const QString who
            = QLatin1String(widget->metaObject()->className()) + u' ' + widget->objectName();
        if (name.isEmpty())
            faults << who + QStringLiteral(" has no name");
        if (names.contains(name))
            faults << who + QStringLiteral(" is another ") + name;
        names << name;
    }
    return names.isEmpty() ? QStringList("no control found") : faults;
}

} // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

private slots:
    void everyControlHasANameOfItsOwn()
    {
        AppHarness app;
        QStringList faults;
        int looks = 0;
        const auto look = [&](const QWidget *window) {
            faults << Faults(window);
            ++looks;
        };
        app.AnswerDialog(
            AppHarness::DialogAnswer::Accept, [&](ConfigDialog &dialog) { look(&dialog); });
        app.StartConnected();
        look(&app.Window());
        for (const MemDialogMode mode :
            {MemDialogMode::Load, MemDialogMode::Save, MemDialogMode::Fill}) {
            CMemDialog dialog;
            dialog.SetMode(mode);
            look(&dialog);
        }
        look(std::make_unique<CDeviceSelectionDialog>(nullptr).get());
        const AboutDialog about("Pelimo");
        look(&about);
        QVERIFY(!about.findChild<QLabel *>("pLabelLogo")->pixmap().isNull());
        bool isPlaced = false;
        QTimer::singleShot(0, this, [&] {
            QWidget *const info = QApplication::activeModalWidget();
            look(info);
            isPlaced = info->layout()->indexOf(info->findChild<QPushButton *>()) >= 0;
            info->close();
        });
        ShowIpInformation(&app.Window());
        QVERIFY(isPlaced);
        QCOMPARE(faults.join(u'\n'), QString());
        QCOMPARE(looks, 8);
    }

    void titleAndStatusBarFollowWhatHappens()
    {
        AppHarness app;
        app.StartConnected();
        SOON_COMPARE(app.StatusTexts().join('|'),
            "Configuration applied|Connected|ARM core id: 0x410FC241|Speed: 50000 kHz");
        const QString title = "TOLVEN Pelimo V6.54a";
        QVERIFY(app.Window().windowTitle().startsWith(title + " - [Memory @ "));
        auto *const subWindow = app.Window().findChild<QMdiSubWindow *>();
        QVERIFY(subWindow->isMaximized());
        QVERIFY(subWindow->windowFlags().testFlag(Qt::FramelessWindowHint));
        CHexEditor &memory = *app.MemoryWindow();
        for (const char *const tip : {"Save Memory Data to File", ""}) { // "": the pointer has left
            QStatusTipEvent event((QString(tip))); // as the tool bar sends it to its window
            QApplication::sendEvent(&memory, &event);
            QCoreApplication::processEvents();
            QCOMPARE(app.StatusTexts()[kStatusMessage], "Save Memory Data to File");
        }

        APP_SetStatusField(std::string(250, 'x').c_str(), kStatusMessage); // widens nothing
        SOON(app.StatusTexts()[kStatusMessage].startsWith("xx"));
        QVERIFY(app.Window().statusBar()->minimumSizeHint().width() < 200);

        auto *const view = memory.findChild<QPlainTextEdit *>();
        app.Window().show();
        app.Window().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&app.Window()));
        view->setFocus();
        QVERIFY(view->hasFocus());
        QTest::keyClick(view, Qt::Key_Tab);
        QVERIFY(!view->hasFocus()); // the sub-window around it does not give it back

        emit app.Action("&General...")->hovered();
        app.Trigger("&Disconnect");
        QVERIFY(app.MemoryWindow() == nullptr);
        SOON_COMPARE(
            app.StatusTexts().join('|'), "Configure target connection settings|Not connected||");
        QCOMPARE(app.Window().windowTitle(), title);
        SOON(app.Action("&Connect")->isEnabled());
        QVERIFY(!app.Action("&Disconnect")->isEnabled());
        app.Trigger("&Connect");
        SOON(app.MemoryWindow() != nullptr && !app.Action("&Connect")->isEnabled());
        app.Trigger("&Connect");
        QCoreApplication::processEvents();
        QCOMPARE(app.Window().findChildren<CHexEditor *>().size(), 1);
        QCOMPARE(app.Boxes(), QStringList());
        app.Trigger("&Exit");
        QVERIFY(!app.Window().isVisible());
    }

    void reportsStandOneByOneOverWhateverIsOpen()
    {
        AppHarness app({}, AppHarness::DialogAnswer::Reject);
        app.Start();
        app.AnswerBoxes(false);
        app.Window().resize(400, 300);
        app.Window().move(2700, 700); // beyond the lower right corner of the second screen
        QWidget *about = nullptr;
        bool isPlaced = false;
        int visibleBoxes = -1;
        QTimer look; // runs in the event loop of the open dialog
        connect(&look, &QTimer::timeout, &look, [&] {
            QWidget *const modal = QApplication::activeModalWidget();
            if (modal != nullptr && about == nullptr) {
                about = modal;
                APP_ShowError("first");
            } else if (modal != about && visibleBoxes < 0 && AppHarness::VisibleBoxes() > 0) {
                isPlaced = QRect(1600, 0, 1280, 800).contains(about->geometry())
                    && about->windowTitle() == "About" && modal->parentWidget() == about
                    && modal->windowFlags().testFlag(Qt::WindowStaysOnTopHint);
                for (unsigned i = 0; i < 3 * kMaxReports; ++i)
                    APP_ShowWarning((std::to_string(i) + std::string(1000, 'x')).c_str());
                QCoreApplication::processEvents();
                visibleBoxes = AppHarness::VisibleBoxes();
                app.AnswerBoxes(true);
            } else if (modal == about && visibleBoxes >= 0) {
                look.stop();
                QTest::mouseClick(about->findChild<QPushButton *>(), Qt::LeftButton);
            }
        });
        look.start(1);
        app.Trigger("&About...");
        QVERIFY(isPlaced);
        QCOMPARE(visibleBoxes, 1);
        QCOMPARE(app.Boxes().size(), int(kMaxReports)); // the first reports, shortened
        QCOMPARE(app.Boxes()[0], "Error|first");
        QCOMPARE(app.Boxes()[1], "Warning|0" + QString(kReportTextSize - 2, u'x'));
        QCOMPARE(app.Boxes()[2].left(10), "Warning|1x");

        app.AnswerBoxes(false);
        APP_ShowError("open"); // closing the window ends this box and shows no further one
        APP_ShowError("never shown");
        QTimer close;
        connect(&close, &QTimer::timeout, &close, [&] {
            if (AppHarness::VisibleBoxes() == 1)
                app.Window().close();
        });
        close.start(1);
        SOON(!app.Window().isVisible());
        QCOMPARE(AppHarness::VisibleBoxes(), 0);
    }

    void whatTheSystemRefusesIsToldOnceAndMayWorkLater()
    {
        AppHarness app({}, AppHarness::DialogAnswer::Reject);
        std::vector<SYS_EVENT_HANDLE> events;
        do
            events.push_back(SYS_CreateEvent(nullptr, 0, 0));
        while (events.back() != SYS_EVENT_ERROR);
        app.Start();
        for (unsigned press = 0; press < 2 * kRingSlots; ++press) {
            app.Trigger("&Connect");
            QCoreApplication::processEvents();
        }
        SOON_COMPARE(app.Boxes().size(), 1);
        QVERIFY(app.TakeBoxes()[0].startsWith("Error|Could not start the worker thread."));
        for (const SYS_EVENT_HANDLE event : events)
            SYS_CloseEvent(event);
        app.Trigger("&Connect");
        SOON(app.MemoryWindow() != nullptr);
        QCOMPARE(app.Boxes(), QStringList());
    }
};

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
