// The window may be lost at any moment: while something of it is open, and in a message of the
// host.

#include "memscript.h"

namespace {

struct Path {
    const char *name; ///< what is opened, one in the other, or what is done
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
        c.Run("zones 2 Default,Data");
        const auto lose = [&c] { c.owner.reset(); };
        const auto openNext = [&] {
            if (path.last() != "chooser" && path.last() != "question")
                return WhenOpen(lose);
            WhenOpen([&] {
                auto *dialog = qobject_cast<CMemDialog *>(QApplication::activeModalWidget());
                QPushButton *button = dialog->findChild<QPushButton *>("pButtonSelectFile");
                if (path.last() == "question") {
                    dialog->SetFileName(File());
                    button = dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok);
                }
                WhenOpen(lose);
                button->click();
            });
        };
        if (path.first().startsWith("do ")) {
            openNext();
            c.Run(path.first());
        } else if (path.first() == "menu") {
            WhenOpen([&] {
                auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
                const auto isWanted = [&](const QAction *action) {
                    return action->text().remove(u'&').trimmed() == path.value(1);
                };
                const QList<QAction *> entries = menu->actions();
                const auto found = std::find_if(entries.begin(), entries.end(), isWanted);
                if (found == entries.end())
                    return lose();
                QAction *entry = *found;
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
        AddRows<Path>(
            {{"do Copy"}, {"do CopyText"}, {"do CopyBinary"}, {"do CopyIntList"}, {"do Paste"},
                {"form V1; do Fill"}, {"form V~/old.bin; do Save"}, {"form V~/old.bin; do Load"},
                {"click @20; type a; do ViewData"}, {"click @20; type a; zone Data"},
                {"click @20; type a; width 2"}, {"click @20; type a; close"},
                {"click @20; type a; key Return; written?"}, {"click @20; type a; do Copy"},
                {"click @20; type a; do Paste"}, {"click @20; type a; do Save"}});
    }

    /// With a typed change that cannot be written its message comes before the command's own step.
    void aHostDeletesTheWindowInItsMessage()
    {
        QFETCH(const Path, row);
        MemScript c;
        c.Run("select @0 @7; put application/octet-stream 7061");
        c.target.failAll = true;
        c.target.onMessage = [&c] { c.owner.reset(); };
        c.Run(row.name);
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
