// The window may be lost at any moment: while something of it is open, and in a message of the
// host.

#include "memcommandwindow.h"

#include <QAbstractItemView>
#include <QDropEvent>
#include <QFileDialog>
#include <QMenu>
#include <QTemporaryDir>

namespace {

QAction *ActionIn(const QWidget *menu, const QString &text)
{
    for (QAction *action : menu->actions()) {
        if (action->text().remove(u'&').trimmed() == text)
            return action;
    }
    return nullptr;
}

/// Clicks on an entry of an open menu, as the mouse does: the menu activates it itself.
void ClickEntry(QMenu *menu, const QString &text)
{
    QAction *action = ActionIn(menu, text);
    QVERIFY2(action != nullptr, qPrintable(text));
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
}

/// Calls something once whatever is open now has its event loop running.
void WhenOpen(const std::function<void()> &then)
{
    QTimer::singleShot(0, qApp, then);
}

} // namespace

class MemLifetimeTest : public QObject {
    Q_OBJECT

private slots:
    void theWindowGoesUnderWhateverIsOpen_data()
    {
        QTest::addColumn<QString>("path"); // what is opened, one in the other
        for (const char *path : {"action Goto", "action AutoRefresh", "action Fill", "action Save",
                 "action Load", "menu", "menu|Go To...", "menu|Periodic Refresh...", "menu|Fill",
                 "menu|Save", "menu|Load", "action Save|chooser", "menu|Save|chooser",
                 "action Load|chooser", "menu|Copy Special", "menu|Memory Zone",
                 "action Save|question", "addresses", "rates", "bar", "drag"})
            QTest::newRow(path) << path;
    }

    void theWindowGoesUnderWhateverIsOpen()
    {
        QFETCH(QString, path);
        QTemporaryDir folder;
        Put(folder.filePath("old.bin"), "old");
        Commands c;
        c.target.zones = "Default,Data";
        c.target.zoneCount = 2;
        const auto lose = [&c] { c.owner.reset(); };
        const QString last = path.section(u'|', -1);
        const auto openNext = [&] {
            if (last == "chooser")
                WhenOpen([&] {
                    WhenOpen(lose);
                    QApplication::activeModalWidget()->findChild<QPushButton *>()->click();
                });
            else if (last == "question")
                WhenOpen([&] {
                    auto *dialog = qobject_cast<CMemDialog *>(QApplication::activeModalWidget());
                    dialog->SetFileName(folder.filePath("old.bin"));
                    WhenOpen(lose);
                    dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
                });
            else
                WhenOpen(lose);
        };
        const QString first = path.section(u'|', 0, 0);
        if (first.startsWith("action ")) {
            openNext();
            c.Trigger(first.mid(7).toLatin1().constData());
        } else if (first == "menu") {
            WhenOpen([&] {
                auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
                const QString entry = path.section(u'|', 1, 1);
                if (entry.isEmpty())
                    return lose();
                if (QMenu *sub = ActionIn(menu, entry)->menu()) {
                    menu->setActiveAction(sub->menuAction());
                    sub->popup(menu->pos());
                    return lose();
                }
                openNext();
                ClickEntry(menu, entry);
            });
            emit c.window.customContextMenuRequested(QPoint(20, 20));
        } else if (first == "addresses" || first == "rates") {
            (first == "rates" ? c.rates : c.addressBox)->showPopup();
            lose();
        } else if (first == "bar") {
            WhenOpen(lose);
            QContextMenuEvent event(
                QContextMenuEvent::Mouse, {3, 30}, c.scrollBar->mapToGlobal(QPoint(3, 30)));
            QApplication::sendEvent(c.scrollBar, &event);
        } else {
            QMimeData data;
            data.setText("20000300");
            QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(c.view->viewport(), &enter);
            lose();
        }
        QApplication::processEvents();
        QVERIFY(c.owner == nullptr);
        QVERIFY(c.target.writes.empty());
        QVERIFY(QApplication::activePopupWidget() == nullptr);
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    }

    void aHostDeletesTheWindowInItsMessage_data()
    {
        QTest::addColumn<QByteArray>("command");
        for (const char *command : {"Copy", "CopyText", "CopyBinary", "CopyIntList", "Paste",
                 "Fill", "Save", "Load", "zone", "width", "typed", "close", "ViewData"})
            QTest::newRow(command) << QByteArray(command);
    }

    /// With a typed change that cannot be written: its message comes before the command's own step.
    void aHostDeletesTheWindowInItsMessage()
    {
        QFETCH(QByteArray, command);
        for (const bool typedFails : {false, true}) {
            QTemporaryDir folder;
            Put(folder.filePath("in.bin"), "data");
            Commands c;
            c.Select(kBase, kBase + 7);
            c.PutOnClipboard(kBinary, "paste");
            c.target.failAll = true;
            c.target.onMessage = [&c] { c.owner.reset(); };
            const bool needsTyped = command == "zone" || command == "width" || command == "typed"
                || command == "close" || command == "ViewData";
            if (typedFails || needsTyped) {
                c.ClickByte(kBase + 0x20);
                QTest::keyClick(c.view, 'a');
            }
            if (command == "Save" || command == "Load" || command == "Fill") {
                if (!typedFails)
                    c.Run(command.constData(),
                        {{"pEditBoxGenVal", command == "Fill" ? "1" : folder.filePath("in.bin")}},
                        command == "Save");
                else
                    c.Trigger(command.constData()); // ends before its dialog
            } else if (command == "zone") {
                c.window.SetZone("Data");
            } else if (command == "width") {
                c.window.SetAccessWidth(2);
            } else if (command == "typed") {
                QTest::keyClick(c.overlay, Qt::Key_Return);
                c.window.OnEditUpdateTimerTimeout();
            } else if (command == "close") {
                c.window.close();
            } else {
                c.Trigger(command.constData());
            }
            QVERIFY(c.owner == nullptr);
            QVERIFY(!c.target.messages.isEmpty());
        }
    }

    void aMessageThatRunsEventsGetsNoSecondOneUnderIt()
    {
        Commands c;
        c.Select(kBase, kBase + 7);
        c.target.failAll = true;
        int depth = 0;
        int deepest = 0;
        c.target.onMessage = [&] {
            deepest = std::max(deepest, ++depth);
            c.Tick(2);
            c.window.WriteTarget(kBase, 1, reinterpret_cast<const std::uint8_t *>("x"));
            if (c.target.messages.size() > 5)
                c.target.failAll = false;
            QApplication::processEvents();
            --depth;
        };
        c.Trigger("CopyBinary");
        QCOMPARE(deepest, 1);
        QVERIFY(c.target.messages.size() > 2); // none is lost
    }
};

QTEST_MAIN(MemLifetimeTest)
#include "tst_memlifetime.moc"
