// The window may be lost at any moment: while something of it is open, and in a message of the
// host.

#include "memscript.h"

namespace {

QAction *ActionIn(const QWidget *menu, const QString &text)
{
    for (QAction *action : menu->actions()) {
        if (action->text().remove(u'&').trimmed() == text)
            return action;
    }
    return nullptr;
}

struct Path {
    const char *name; ///< what is opened, one in the other
};

} // namespace

class MemLifetimeTest : public QObject {
    Q_OBJECT

private slots:
    void init() { PutFile(File(), "old"); }

    void theWindowGoesUnderWhateverIsOpen_data()
    {
        AddRows<Path>({{"do Goto"}, {"do AutoRefresh"}, {"do Fill"}, {"do Save"}, {"do Load"},
            {"menu"}, {"menu|Go To..."}, {"menu|Periodic Refresh..."}, {"menu|Fill"}, {"menu|Save"},
            {"menu|Load"}, {"do Save|chooser"}, {"menu|Save|chooser"}, {"do Load|chooser"},
            {"menu|Copy Special"}, {"menu|Memory Zone"}, {"do Save|question"}, {"addresses"},
            {"rates"}, {"bar"}, {"drag"}});
    }

    void theWindowGoesUnderWhateverIsOpen()
    {
        QFETCH(const Path, row);
        const QStringList path = QString(row.name).split(u'|');
        MemScript c;
        c.target.zones = "Default,Data";
        c.target.zoneCount = 2;
        const auto lose = [&c] { c.owner.reset(); };
        const auto openNext = [&] {
            if (path.last() == "chooser")
                WhenOpen([&] {
                    WhenOpen(lose);
                    QApplication::activeModalWidget()->findChild<QPushButton *>()->click();
                });
            else if (path.last() == "question")
                WhenOpen([&] {
                    auto *dialog = qobject_cast<CMemDialog *>(QApplication::activeModalWidget());
                    dialog->SetFileName(File());
                    WhenOpen(lose);
                    dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
                });
            else
                WhenOpen(lose);
        };
        if (path.first().startsWith("do ")) {
            openNext();
            c.Trigger(path.first().mid(3).toLatin1().constData());
        } else if (path.first() == "menu") {
            WhenOpen([&] {
                auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
                QAction *entry = ActionIn(menu, path.value(1));
                if (entry == nullptr)
                    return lose();
                if (QMenu *sub = entry->menu()) {
                    menu->setActiveAction(entry);
                    sub->popup(menu->pos());
                    return lose();
                }
                openNext(); // the menu activates the entry itself, as for a mouse
                QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(entry).center());
            });
            emit c.window.customContextMenuRequested(QPoint(20, 20));
        } else if (path.first() == "bar") {
            WhenOpen(lose);
            QContextMenuEvent event(
                QContextMenuEvent::Mouse, {3, 30}, c.scrollBar->mapToGlobal(QPoint(3, 30)));
            QApplication::sendEvent(c.scrollBar, &event);
        } else if (path.first() == "drag") {
            QMimeData data;
            data.setText("20000300");
            QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(c.view->viewport(), &enter);
            lose();
        } else {
            (path.first() == "rates" ? c.rates : c.addressBox)->showPopup();
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
        // What is done, or what is done behind a typed change.
        AddRows<Script>({{"Copy", "do Copy", ""}, {"CopyText", "do CopyText", ""},
            {"CopyBinary", "do CopyBinary", ""}, {"CopyIntList", "do CopyIntList", ""},
            {"Paste", "do Paste", ""}, {"Fill", "form V1; do Fill", ""},
            {"Save", "form V~/old.bin; do Save", ""}, {"Load", "form V~/old.bin; do Load", ""},
            {"ViewData", "", "do ViewData"}, {"zone", "", "zone Data"}, {"width", "", "width 2"},
            {"close", "", "close"}, {"typed", "", "key Return; written?"},
            {"before copying", "", "do Copy"}, {"before pasting", "", "do Paste"},
            {"before a dialog", "", "do Save"}});
    }

    /// With a typed change that cannot be written its message comes before the command's own step.
    void aHostDeletesTheWindowInItsMessage()
    {
        QFETCH(const Script, row);
        MemScript c;
        c.Run("select @0 @7; put application/octet-stream 7061");
        c.target.failAll = true;
        c.target.onMessage = [&c] { c.owner.reset(); };
        c.Run(*row.steps != '\0' ? row.steps : QStringLiteral("click @20; type a; ") + row.answers);
        QVERIFY(c.owner == nullptr);
        QVERIFY(!c.target.messages.isEmpty());
    }

    void aMessageThatRunsEventsGetsNoSecondOneUnderIt()
    {
        MemScript c;
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

private:
    static QString File() { return QDir::home().filePath("old.bin"); }
};

QTEST_MAIN(MemLifetimeTest)
#include "tst_memlifetime.moc"
