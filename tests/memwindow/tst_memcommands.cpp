// The memory window's commands, from the action to clipboard, file and target.

#include "memtestwindow.h"

#include <QAbstractItemView>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QToolBar>

#include <functional>

namespace {

constexpr std::uint64_t kBase = 0x2000'0000;
constexpr const char *kBinary = "application/octet-stream";

/// A window at kBase over the bytes 00 01 02 ...
struct Commands : MemTestWindow {
    Commands()
    {
        QGuiApplication::clipboard()->clear();
        for (std::uint64_t i = 0; i < 4096; ++i)
            target.Set(kBase + i, std::uint8_t(i));
        GoTo(kBase);
    }
    /// Triggers an action and deals with the dialog that it opens.
    template <typename Dialog>
    void TriggerWithDialog(const char *action, const std::function<void(Dialog &)> &deal)
    {
        bool opened = false;
        QTimer::singleShot(0, &window, [&] {
            auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog != nullptr);
            opened = true;
            deal(*dialog);
        });
        Trigger(action);
        QVERIFY(opened);
    }
    /// Accepts the memory dialog of an action with these texts in its fields.
    void Run(const char *action, const std::vector<std::pair<const char *, QString>> &fields)
    {
        TriggerWithDialog<CMemDialog>(action, [&](CMemDialog &dialog) {
            for (const auto &[box, text] : fields) {
                Field(dialog, box)->selectAll();
                QTest::keyClicks(Field(dialog, box), text);
            }
            target.reads.clear();
            dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
        });
    }
    static QLineEdit *Field(const QDialog &dialog, const char *box)
    {
        return dialog.findChild<QLineEdit *>(QLatin1String(box));
    }
    /// Answers the "Go To" dialog.
    void RunGoTo(const QString &text, bool accept)
    {
        TriggerWithDialog<QInputDialog>("Goto", [&](QInputDialog &dialog) {
            dialog.setTextValue(text);
            accept ? dialog.accept() : dialog.reject();
        });
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
    QString AddressItems() const
    {
        QStringList texts;
        for (int i = 0; i < addressBox->count(); ++i)
            texts << addressBox->itemText(i);
        return texts.join(u' ');
    }
    /// From the cursor to the end of the space.
    void SelectToTheEnd()
    {
        Key(Qt::Key_Shift);
        Key(Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
    }
    QString TakeMessages() { return std::exchange(target.messages, {}).join(u'|'); }
    static QString ClipboardText() { return QGuiApplication::clipboard()->text(); }
    static QByteArray ClipboardData(const char *type)
    {
        return QGuiApplication::clipboard()->mimeData()->data(QLatin1String(type));
    }
    static void PutOnClipboard(const char *type, const QByteArray &bytes)
    {
        auto *data = new QMimeData;
        data->setData(QLatin1String(type), bytes);
        QGuiApplication::clipboard()->setMimeData(data);
    }
};

QByteArray Contents(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<no file>");
}

void Put(const QString &fileName, const QByteArray &contents)
{
    QFile file(fileName);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
}

} // namespace

class MemCommandsTest : public QObject {
    Q_OBJECT

private slots:
    void copyPutsTheSelectionOnTheClipboard()
    {
        Commands c;
        c.Select(kBase + 0x53, kBase + 0x4E); // upwards, over two rows
        c.target.reads.clear();
        const std::vector<std::array<const char *, 4>> forms{
            {"Copy", "hex", "text/plain", "4E 4F\n50 51 52 53"},
            {"CopyHex", "hex", "text/plain", "4E 4F\n50 51 52 53"},
            {"CopyText", "text", "text/plain", "NOPQRS"},
            {"CopyBinary", "binary", kBinary, "NOPQRS"},
            {"CopyIntList", "hex as C initializer", "text/plain",
                "0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53"}};
        for (const auto &[action, form, type, data] : forms) {
            c.Trigger(action);
            QCOMPARE(c.ClipboardData(type), data);
            QCOMPARE(QGuiApplication::clipboard()->mimeData()->formats().size(), 1);
            QCOMPARE(c.TakeMessages(),
                QStringLiteral("0: Memory selection copied to the clipboard (format=%1)")
                    .arg(form));
        }
        QCOMPARE(c.target.reads.at(0), (FakeTarget::Call{kBase + 0x40, 16, 0, "", {}}));
        QCOMPARE(c.target.reads.size(), 2U * 3 + 2); // by rows for texts, at once for bytes

        c.target.unreadable = {kBase + 0x4E};
        c.Trigger("CopyHex");
        QCOMPARE(c.ClipboardText().left(5), "-- 4F");
        c.Trigger("CopyBinary"); // unread bytes are zero bytes
        QCOMPARE(c.ClipboardData(kBinary).left(2), QByteArray("\0O", 2));
        c.target.unreadable.clear();
        c.window.ScrollRows(-1000); // what is out of sight is copied as well
        c.Key(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(c.ClipboardText().left(5), "4E 4F");

        c.Trigger("View4ByteItems");
        c.Select(c.window.BaseAddress(), c.window.BaseAddress() + 3);
        c.SetBigEndian(true); // the list's numbers are little-endian all the same
        c.target.Set(c.window.BaseAddress(), 0x99);
        c.Trigger("CopyIntList");
        QVERIFY(c.ClipboardText().endsWith("99"));
    }

    void aLongCopyCanBeCancelled()
    {
        for (const bool windowGoes : {false, true}) {
            Commands c;
            c.target.logs = false;
            c.GoTo(0xFFFF'0000);
            c.SelectToTheEnd();
            QGuiApplication::clipboard()->setText("before");
            c.target.readTakesMs = 10; // thousands of rows: minutes, if nobody ends it
            QTimer watch;
            connect(&watch, &QTimer::timeout, &watch, [&] {
                auto *dialog = qobject_cast<QProgressDialog *>(QApplication::activeModalWidget());
                if (dialog == nullptr)
                    return;
                watch.stop();
                c.target.readTakesMs = 0;
                windowGoes ? c.owner.reset() : dialog->cancel();
            });
            watch.start(0);
            c.Trigger("Copy");
            QVERIFY2(!watch.isActive(), "no dialog came");
            QCOMPARE(c.ClipboardText() + c.TakeMessages(), "before");
            QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
        }
    }

    void whatCannotBeCopiedIsSaid()
    {
        Commands c;
        const QString nothing = "1: Copy action could not be performed: no data to copy";
        QGuiApplication::clipboard()->setText("before");
        for (const char *action : {"CopyBinary", "CopyIntList"}) {
            c.Trigger(action);
            QCOMPARE(c.TakeMessages(), nothing);
            QCOMPARE(c.ClipboardText(), "before");
        }
        c.Trigger("Copy");
        QCOMPARE(c.ClipboardText(), "");
        c.TakeMessages();

        c.GoTo(0);
        c.SelectToTheEnd(); // more than any buffer should hold is refused, not attempted
        for (const char *copy : {"CopyBinary", "Copy"}) {
            c.Trigger(copy);
            QCOMPARE(c.TakeMessages(), nothing);
        }
        c.Run("Fill", {{"pEditBoxGenVal", "0"}});
        QCOMPARE(c.TakeMessages() + c.TakeWrites(), "1: Failed to write target memory");

        c.GoTo(kBase);
        c.Select(kBase, kBase + 7);
        c.window.SetCallbacks({});
        c.Trigger("CopyBinary"); // a host without callbacks; nowhere to report to either
        c.Trigger("CopyHex");
        QCOMPARE(c.ClipboardText(), ".. .. .. .. .. .. .. ..");
    }

    void pasteWritesTheBytesAndReadsThemBack()
    {
        Commands c;
        c.ClickByte(kBase + 0x25, 1);
        QGuiApplication::clipboard()->setText("AB\n");
        c.target.reads.clear();
        c.Key(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(c.TakeWrites(), "20000025:41420A");
        QCOMPARE(c.target.reads.size(), 1U);
        QCOMPARE(c.LastRead(), (PageRange{kBase + 0x25, 3}));
        QVERIFY(c.Row(2).contains("24 41 42 0A"));

        c.target.failWrites = true;
        c.target.Set(kBase + 0x26, 0x99);
        c.Trigger("Paste");
        QCOMPARE(c.TakeMessages(), "1: Failed to write target memory");
        QVERIFY(c.Row(2).contains("41 99")); // the read-back comes all the same
    }

    void pasteTakesOnlyBytesAndEndsWithTheSpace()
    {
        Commands c;
        c.GoTo(0xFFFF'FFF0);
        c.ClickByte(0xFFFF'FFFD);
        c.Trigger("Paste"); // nothing on the clipboard
        c.TakeMessages();
        c.PutOnClipboard("image/png", "picture");
        c.Trigger("Paste");
        QCOMPARE(c.TakeMessages(), "1: Cannot paste clipboard contents: unsupported content type");
        c.PutOnClipboard(kBinary, "");
        c.Trigger("Paste");
        QCOMPARE(c.TakeMessages() + c.TakeWrites(), "");
        c.PutOnClipboard(kBinary, QByteArray(100 * 1024 * 1024, 'x'));
        c.Trigger("Paste");
        QCOMPARE(c.TakeWrites(), "FFFFFFFD:787878");
    }

    void fillWritesItsRangeOnly()
    {
        Commands c;
        c.Select(kBase + 3, kBase + 5);
        c.TriggerWithDialog<CMemDialog>("Fill", [&](CMemDialog &dialog) {
            QCOMPARE(dialog.GetStartAddress(), kBase + 3);
            QCOMPARE(dialog.GetSize(), 3U);
            dialog.reject();
        });
        QCOMPARE(c.TakeWrites(), "");
        c.Run(
            "Fill", {{"pEditBoxGenVal", "1FF"}, {"pEditBoxSize", "100"}}); // only the value counts
        QCOMPARE(c.TakeWrites(), "20000003:FFFFFF");
        QCOMPARE(c.Item(kBase + 4), "FF");
        QCOMPARE(c.window.focusWidget(), c.view);
        c.Key(Qt::Key_Escape); // no selection: what is on show
        c.Run("Fill", {{"pEditBoxGenVal", "0"}});
        QCOMPARE(std::uint64_t(c.target.writes.at(0).written.size()), c.window.BytesPerPage());
    }

    void aMessageDuringAWaitHasTheUsualCursor()
    {
        static Qt::CursorShape shape = Qt::BusyCursor;
        Commands c;
        MemoryCallbacks callbacks = c.target.Callbacks();
        callbacks.WriteMemory = nullptr;
        callbacks.ShowMessage
            = [](const QString &, int) { shape = QGuiApplication::overrideCursor()->shape(); };
        c.window.SetCallbacks(callbacks);
        c.Run("Fill", {{"pEditBoxGenVal", "0"}});
        QCOMPARE(shape, Qt::ArrowCursor);
        QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
    }

    void saveWritesTheRangeOfTheDialog()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("out.bin");
        const auto field = [](const QString &size, const QString &file) {
            return std::vector<std::pair<const char *, QString>>{
                {"pEditBoxGenVal", file}, {"pEditBoxAddr", "20000010"}, {"pEditBoxSize", size}};
        };
        Commands c;
        c.Run("Save", field("14", name));
        QCOMPARE(Contents(name).toHex(), "101112131415161718191a1b1c1d1e1f20212223");
        QCOMPARE(c.LastRead(), (PageRange{kBase + 0x10, 0x14}));
        QCOMPARE(c.TakeMessages(), "");
        c.Run("Save", field("14", folder.path()));
        QCOMPARE(c.TakeMessages(), "1: Could not open file for writing");

        c.target.unreadable = {kBase + 0x12};
        c.Run("Save", field("13", name)); // what can be read is saved, to the last byte
        QCOMPARE(Contents(name).toHex(),
            "10110013"
            "1415161718191a1b1c1d1e1f202122");
        QCOMPARE(c.TakeMessages(), "1: Failed to read target memory");
        QFile::remove(name);
        c.target.failAll = true;
        c.Run("Save", field("13", name));
        QCOMPARE(c.TakeMessages(), "1: Failed to read target memory");
        c.window.SetCallbacks({});
        c.Run("Save", field("13", name));
        QVERIFY(!QFile::exists(name));
    }

    void loadWritesTheFileAtTheCursor()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("in.bin");
        Put(name, "0123456789");
        Commands c;
        c.ClickByte(kBase + 0x18);
        c.Run("Load", {{"pEditBoxGenVal", name}});
        QCOMPARE(c.TakeWrites(), "20000018:30313233343536373839");
        QVERIFY(c.Row(1).endsWith("01234567"));
        c.TriggerWithDialog<CMemDialog>("Load", [&](CMemDialog &dialog) {
            c.Field(dialog, "pEditBoxGenVal")->setText(name);
            QVERIFY(QFile::remove(name)); // vanishes between the choice and the click
            dialog.accept();
        });
        QCOMPARE(c.TakeMessages() + c.TakeWrites(), "1: Could not open file for reading");
    }

    void largeRangesGoInOneCall()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("large.bin");
        constexpr std::uint64_t kSaved = 16 * 1024 * 1024;
        Commands c;
        c.Run("Save", {{"pEditBoxGenVal", name}, {"pEditBoxSize", QString::number(kSaved, 16)}});
        QCOMPARE(c.target.reads.size(), 1U);
        QCOMPARE(c.LastRead(), (PageRange{kBase, kSaved}));
        const QByteArray saved = Contents(name);
        QCOMPARE(std::uint64_t(saved.size()), kSaved);
        for (const std::uint64_t at : {std::uint64_t{0}, kSaved / 3, kSaved - 1})
            QCOMPARE(std::uint8_t(saved.at(qsizetype(at))), c.target.ByteAt(kBase + at));

        Put(name, saved.left(1024 * 1024));
        c.Run("Load", {{"pEditBoxGenVal", name}, {"pEditBoxAddr", "30000000"}});
        QCOMPARE(c.target.writes.size(), 1U);
        QVERIFY(c.target.writes[0].written == saved.left(1024 * 1024));
    }

    void typedAddressesJumpAndAreRemembered_data()
    {
        QTest::addColumn<bool>("toEdit");
        QTest::newRow("by the keyboard") << false;
        QTest::newRow("by an assistive program") << true;
    }

    void typedAddressesJumpAndAreRemembered()
    {
        QFETCH(bool, toEdit);
        Commands c;
        const auto enter = [&](const QString &text) {
            c.EnterAddress(text, toEdit);
            return QString::number(c.window.BaseAddress(), 16) + u' ' + c.AddressItems();
        };
        QCOMPARE(enter("20000a07"), "20000a00 20000A07");
        QVERIFY(c.view->hasFocus());
        QCOMPARE(enter("2000"), "2000 2000 20000A07"); // a beginning of another one of the list
        QCOMPARE(enter("main"), "2000 main 2000 20000A07");
        QCOMPARE(enter("20000A07"), "20000a00 20000A07 main 2000"); // one of the list
        QCOMPARE(c.TakeMessages(), "");
        c.Trigger("GoBack");
        QCOMPARE(c.window.BaseAddress(), 0x2000U); // the jump is in the history once

        c.addressBox->setCurrentIndex(2); // chosen from the list
        QCOMPARE(c.AddressItems(), "2000 20000A07 main");
        for (int i = 0; i < 11; ++i)
            c.EnterAddress(QString::number(0x1000 + i, 16), toEdit);
        QCOMPARE(c.AddressItems(), "100A 1009 1008 1007 1006 1005 1004 1003 1002 1001");
        c.window.ScrollRows(-5);
        const std::uint64_t scrolled = c.window.BaseAddress();
        c.addressBox->showPopup();
        QTest::keyClick(c.addressBox->view(), Qt::Key_Down); // browsing is no jump
        QCOMPARE(c.window.BaseAddress(), scrolled);
        c.addressBox->hidePopup();
        emit c.addressBox->activated(0); // chosen although it is current already
        QCOMPARE(c.window.BaseAddress(), 0x1000U);
    }

    void goBackReturnsThroughTheHistory()
    {
        Commands c;
        QVERIFY(!c.Action("GoBack")->isEnabled());
        c.window.GoTo(0x1000, true, true);
        c.window.ScrollRows(-2);
        c.window.GoTo(0x5000, true, true);
        c.window.GoTo(0x5004, true, true);
        c.window.GoTo(0x5008, true, true); // the same row: remembered once
        c.Key(Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(c.window.BaseAddress(), 0x5000U);
        c.Trigger("GoBack");
        QCOMPARE(c.window.BaseAddress(), 0x1020U);
        c.Trigger("GoBack");
        QCOMPARE(c.window.BaseAddress(), kBase);
        QVERIFY(!c.Action("GoBack")->isEnabled());
        QVERIFY(c.Action("Copy")->isEnabled());
    }

    void theGoToDialogCountsWhateverButtonClosesIt()
    {
        Commands c;
        c.ClickByte(kBase + 0x1A);
        c.TriggerWithDialog<QInputDialog>("Goto", [&](QInputDialog &dialog) {
            QCOMPARE(dialog.windowTitle() + u'|' + dialog.labelText() + u'|' + dialog.textValue(),
                "Goto|Memory Location:|0x2000001A");
            dialog.setTextValue("0x3000");
            dialog.accept();
        });
        QCOMPARE(c.window.BaseAddress(), 0x3000U);
        c.RunGoTo("4000", false);
        QCOMPARE(c.window.BaseAddress(), 0x4000U);
        c.RunGoTo("", true);
        QCOMPARE(c.window.BaseAddress(), 0x4000U);
        QCOMPARE(c.AddressItems(), "4000 0x3000");

        c.Action("Goto")->setData(QStringList("5000")); // a host knows the address already
        c.Trigger("Goto");
        QCOMPARE(c.window.BaseAddress(), 0x5000U);
        c.Action("Goto")->setData(QStringList({"6000", "7000"}));
        c.Trigger("Goto");
        QCOMPARE(c.window.BaseAddress(), 0x5000U);
    }

    void viewDataFollowsAPointer()
    {
        Commands c;
        for (int i = 0; i < 4; ++i)
            c.target.Set(kBase + 0x21 + unsigned(i), std::uint8_t(0x20000508 >> (8 * i)));
        c.window.UpdateFromTarget();
        c.Select(kBase + 0x21, kBase + 0x24);
        c.SetBigEndian(true); // pointers are read in the host's own order
        c.Key(Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(c.window.BaseAddress(), kBase + 0x500);
        c.Trigger("CopyBinary"); // what it points to is selected
        QCOMPARE(c.ClipboardData(kBinary).toHex(), "08090a0b");
        c.Trigger("GoBack");
        c.Key(Qt::Key_Escape);
        c.ClickByte(kBase + 0x21); // without a selection, at the cursor
        c.target.unreadable = {kBase + 0x23};
        c.window.UpdateFromTarget();
        c.Trigger("ViewData");
        QCOMPARE(c.window.BaseAddress(), kBase); // not known, so no jump
        c.target.unreadable.clear();
        c.window.UpdateFromTarget();
        c.Trigger("ViewData");
        QCOMPARE(c.window.BaseAddress(), kBase + 0x500);
    }

    void sizesAndWidthsFollowTheirActions()
    {
        Commands c;
        QVERIFY(c.Action("AccessAuto")->isChecked());
        c.Key(Qt::Key_3, Qt::ControlModifier);
        QVERIFY(c.Row(0).startsWith("20000000  03020100 07060504  "));
        c.Trigger("Access2ByteItems");
        QCOMPARE(int{c.target.reads.back().accessWidth}, 2);
        c.window.SetFeatureFlags(kFeatureRefresh); // taking the choice away resets it
        QVERIFY(c.Action("AccessAuto")->isChecked());
        QVERIFY(!c.Action("AccessAuto")->isVisible() && !c.Action("Load")->isVisible());
        QCOMPARE(int{c.target.reads.back().accessWidth}, 0);

        auto *toolBar = c.window.findChild<QToolBar *>("pToolBar");
        c.addressBox->setFocus();
        c.Trigger("ShowToolbar");
        QVERIFY(!toolBar->isVisible() && c.view->hasFocus());
        c.Trigger("ShowToolbar");
        QVERIFY(toolBar->isVisible());
    }

    void theContextMenuOpensByKeyAtTheCursor()
    {
        Commands c;
        c.ClickByte(kBase + 0x38);
        QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(1, 1), QPoint(1, 1));
        QKeyEvent shiftF10(QEvent::KeyPress, Qt::Key_F10, Qt::ShiftModifier);
        const QPoint below = c.ByteCentre(kBase + 0x48) - QPoint(c.widthPx / 2, c.heightPx / 2);
        for (QEvent *event : {static_cast<QEvent *>(&menuKey), static_cast<QEvent *>(&shiftF10)}) {
            QPoint place;
            QTimer::singleShot(0, &c.window, [&] {
                place = QApplication::activePopupWidget()->pos();
                QApplication::activePopupWidget()->close();
            });
            QApplication::sendEvent(c.view, event);
            QCOMPARE(place, c.view->viewport()->mapToGlobal(below));
        }
    }

    void droppedAddressesJumpAndDroppedFilesAsk()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("drop.bin");
        Put(name, "dropped");
        QMimeData file;
        file.setUrls({QUrl::fromLocalFile(name)});
        QMimeData address;
        address.setText(" 0x20000300\n");
        QMimeData words;
        words.setText("no address");

        Commands c;
        const auto drop = [&](QMimeData &contents) {
            QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &contents, Qt::LeftButton, {});
            QApplication::sendEvent(c.view->viewport(), &enter);
            QDropEvent event(QPointF(9, 9), Qt::CopyAction, &contents, Qt::LeftButton, {});
            if (enter.isAccepted())
                QApplication::sendEvent(c.view->viewport(), &event);
            return enter.isAccepted();
        };
        QVERIFY(!drop(words));
        QVERIFY(drop(address));
        QCOMPARE(c.window.BaseAddress(), kBase + 0x300);
        QCOMPARE(c.AddressItems(), "0x20000300");

        QVERIFY(drop(file));
        QString asked;
        QTimer::singleShot(0, &c.window, [&] {
            auto *dialog = qobject_cast<CMemDialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog != nullptr);
            asked = dialog->GenericValue() + QString::number(dialog->GetSize());
            dialog->reject();
        });
        QApplication::processEvents();
        QCOMPARE(asked, name + u'7');
        QCOMPARE(c.TakeWrites(), ""); // a drop by itself writes nothing
        c.window.SetFeatureFlags(kFeatureRefresh);
        QVERIFY(!drop(file));
    }

    void settingsComeBack()
    {
        Commands c;
        c.EnterAddress("20000b00");
        c.RunGoTo("0x20000c00", true);
        c.window.ScrollRows(-7); // the last jump counts, not where scrolling has led
        for (const char *action : {"View2ByteItems", "Access4ByteItems", "ShowToolbar"})
            c.Trigger(action);
        c.owner.reset();

        CHexEditor next;
        next.SetCallbacks(c.target.Callbacks());
        next.SetFeatureFlags(kFeatureAccessWidth);
        next.resize(900, 400);
        next.show();
        QApplication::processEvents();
        QCOMPARE(next.windowTitle(), "Memory @ 20000C00");
        QCOMPARE(next.BaseAddress(), kBase + 0xC00);
        QCOMPARE(next.BytesPerItem(), 2);
        QCOMPARE(int{c.target.reads.back().accessWidth}, 4);
        QVERIFY(next.findChild<QAction *>("pActionMemoryView2ByteItems")->isChecked());
        QVERIFY(next.findChild<QAction *>("pActionMemoryAccess4ByteItems")->isChecked());
        QVERIFY(!next.findChild<QAction *>("pActionMemoryShowToolbar")->isChecked());
        QVERIFY(!next.findChild<QToolBar *>("pToolBar")->isVisible());
        const auto *box = next.findChild<QComboBox *>("pEditBoxAddr");
        QCOMPARE(box->itemText(0) + u' ' + box->itemText(1), "0x20000C00 20000B00");
        QCOMPARE(QSettings().value("AppData/HexEditor/Last Input Text").toString(), "0x20000c00");
    }

    void aWindowMayGoWhileItsDialogIsOpen()
    {
        for (const char *action : {"Goto", "AutoRefresh", "Fill", "Save", "Load", "menu"}) {
            Commands c;
            QTimer::singleShot(0, qApp, [&c] { c.owner.reset(); });
            if (action == QByteArray("menu"))
                emit c.window.customContextMenuRequested(QPoint(20, 20));
            else
                c.Trigger(action);
            QVERIFY2(c.owner == nullptr && c.target.writes.empty(), action);
        }
    }

    void ticksLeaveMenusAndDragsAlone()
    {
        Commands c;
        const auto changingTicks = [&c] {
            for (int i = 0; i < 1000; ++i) {
                c.target.Set(kBase + 0x30, std::uint8_t(i));
                c.Tick();
            }
        };
        bool menuStayed = false;
        QTimer::singleShot(0, &c.window, [&] {
            const QPointer<QWidget> menu = QApplication::activePopupWidget();
            changingTicks();
            menuStayed = menu && menu->isVisible();
            if (menu)
                menu->close();
        });
        emit c.window.customContextMenuRequested(QPoint(20, 20));
        QVERIFY(menuStayed);

        c.EnterAddress("20000000");
        c.addressBox->showPopup();
        changingTicks();
        QVERIFY(c.addressBox->view()->isVisible());
        c.addressBox->hidePopup();

        const QPoint to = c.ByteCentre(kBase + 0x25);
        QCursor::setPos(c.view->viewport()->mapToGlobal(to));
        c.Mouse(QEvent::MouseButtonPress, c.ByteCentre(kBase + 0x12));
        c.Mouse(QEvent::MouseMove, to);
        changingTicks();
        c.Mouse(QEvent::MouseMove, to);
        c.Mouse(QEvent::MouseButtonRelease, to);
        c.Trigger("CopyBinary");
        QCOMPARE(c.ClipboardData(kBinary).size(), 0x25 - 0x12 + 1);
        QCOMPARE(c.window.BaseAddress(), kBase);
    }
};

QTEST_MAIN(MemCommandsTest)
#include "tst_memcommands.moc"
