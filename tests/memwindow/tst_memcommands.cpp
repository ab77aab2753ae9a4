// The memory window's commands, from the action to clipboard, file and target.

#include "memtestwindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QFile>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>

#include <functional>

namespace {

constexpr std::uint64_t kBase = 0x2000'0000;

/// A window at kBase over the bytes 00 01 02 ...
struct Commands : MemTestWindow {
    Commands()
    {
        QGuiApplication::clipboard()->clear();
        for (std::uint64_t i = 0; i < 4096; ++i)
            target.Set(kBase + i, std::uint8_t(i));
        GoTo(kBase);
    }
    void Trigger(const char *action) const { Action(action)->trigger(); }

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
    static void Fill(QDialog &dialog, const char *box, const QString &text)
    {
        auto *edit = dialog.findChild<QLineEdit *>(QLatin1String(box));
        edit->selectAll();
        QTest::keyClicks(edit, text);
    }
    static QString Field(const QDialog &dialog, const char *box)
    {
        return dialog.findChild<QLineEdit *>(QLatin1String(box))->text();
    }
    static void Accept(QDialog &dialog)
    {
        dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    }
    QString TakeMessages() { return std::exchange(target.messages, {}).join(u'|'); }
    static QString ClipboardText() { return QGuiApplication::clipboard()->text(); }
    static QByteArray ClipboardData(const char *type)
    {
        return QGuiApplication::clipboard()->mimeData()->data(QLatin1String(type));
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
    void copyPutsTheSelectionOnTheClipboard();
    void aLongCopyCanBeCancelled_data();
    void aLongCopyCanBeCancelled();
    void copyWithoutDataSaysSo();
    void copyIntListFollowsTheItemSize();
    void pasteWritesTheBytesAndReadsThemBack();
    void pasteTakesOnlyBytes();
    void aPasteEndsAtTheEndOfTheSpace();
    void fillWritesItsRangeOnly();
    void saveWritesTheRangeOfTheDialog();
    void saveOfUnreadableMemory();
    void loadWritesTheFileAtTheCursor();
    void largeRangesGoInOneCall();
    void typedAddressesJumpAndAreRemembered();
    void goBackReturnsThroughTheHistory();
    void theGoToDialogCountsWhateverButtonClosesIt();
    void jumpsNearTheEndKeepTheCursorInside();
    void viewDataFollowsAPointer();
    void sizesAndWidthsFollowTheirActions();
    void theContextMenuOpensByKeyAtTheCursor();
    void droppedAddressesJumpAndDroppedFilesAsk();
    void settingsComeBack();
    void aWindowMayGoWhileItsDialogIsOpen_data();
    void aWindowMayGoWhileItsDialogIsOpen();
    void ticksLeaveMenusAndDragsAlone();
};

void MemCommandsTest::copyPutsTheSelectionOnTheClipboard()
{
    Commands c;
    c.Select(kBase + 0x43, kBase + 0x4F);
    c.target.reads.clear();
    c.Trigger("Copy");
    QCOMPARE(c.ClipboardText(), "43 44 45 46 47  48 49 4A 4B 4C 4D 4E 4F");
    QCOMPARE(c.TakeMessages(), "0: Memory selection copied to the clipboard (format=hex)");
    QCOMPARE(c.target.reads.size(), std::size_t(1)); // whole rows, one call each
    QCOMPARE(c.target.reads[0].address, kBase + 0x40);
    QCOMPARE(c.target.reads[0].length, 16U);

    c.Select(kBase + 0x5F, kBase + 0x41); // upwards, over two rows
    c.Trigger("CopyHex");
    QCOMPARE(
        c.ClipboardText().section(u'\n', 0, 0), "41 42 43 44 45 46 47  48 49 4A 4B 4C 4D 4E 4F");
    QCOMPARE(
        c.ClipboardText().section(u'\n', 1), "50 51 52 53 54 55 56 57  58 59 5A 5B 5C 5D 5E 5F");
    c.TakeMessages();
    c.Trigger("CopyText");
    QCOMPARE(c.ClipboardText(), "ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_");
    QCOMPARE(c.TakeMessages(), "0: Memory selection copied to the clipboard (format=text)");
    c.Trigger("CopyBinary");
    QCOMPARE(c.ClipboardData("application/octet-stream"), "ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_");
    QVERIFY(!QGuiApplication::clipboard()->mimeData()->hasText());
    QCOMPARE(c.TakeMessages(), "0: Memory selection copied to the clipboard (format=binary)");

    c.target.unreadable = {kBase + 0x42};
    c.Trigger("CopyHex");
    QVERIFY(c.ClipboardText().startsWith("41 -- 43"));
    c.Trigger("CopyBinary"); // unread bytes are zero bytes
    QCOMPARE(c.ClipboardData("application/octet-stream").left(3), QByteArray("A\0C", 3));

    c.window.ScrollRows(-1000); // what is out of sight is copied as well
    c.target.unreadable.clear();
    c.TakeMessages();
    QTest::keyClick(c.view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(c.TakeMessages(), "0: Memory selection copied to the clipboard (format=hex)");
    QVERIFY(c.ClipboardText().startsWith("41 42"));
}

void MemCommandsTest::aLongCopyCanBeCancelled_data()
{
    QTest::addColumn<bool>("windowGoes");
    QTest::newRow("by its dialog") << false;
    QTest::newRow("by the end of its window") << true;
}

void MemCommandsTest::aLongCopyCanBeCancelled()
{
    QFETCH(bool, windowGoes);
    Commands c;
    c.target.logs = false;
    c.window.GoTo(0xFFFF'0000, true, false);
    QTest::keyClick(c.view, Qt::Key_Shift);
    QTest::keyClick(c.view, Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
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
    QCOMPARE(c.ClipboardText(), "before");
    QCOMPARE(c.TakeMessages(), "");
    QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
}

void MemCommandsTest::copyWithoutDataSaysSo()
{
    Commands c;
    QGuiApplication::clipboard()->setText("before");
    for (const char *action : {"CopyBinary", "CopyIntList"}) {
        c.Trigger(action);
        QCOMPARE(c.TakeMessages(), "1: Copy action could not be performed: no data to copy");
        QCOMPARE(c.ClipboardText(), "before");
    }
    c.Trigger("Copy");
    QCOMPARE(c.ClipboardText(), "");
    QCOMPARE(c.TakeMessages(), "0: Memory selection copied to the clipboard (format=hex)");
    c.Select(kBase, kBase + 7);
    c.window.SetCallbacks({});
    c.Trigger("CopyBinary"); // a host without callbacks; nowhere to report to either
    c.Trigger("CopyHex");
    QCOMPARE(c.ClipboardText(), ".. .. .. .. .. .. .. ..");
}

void MemCommandsTest::copyIntListFollowsTheItemSize()
{
    Commands c;
    c.Select(kBase, kBase + 0x12);
    c.Trigger("CopyIntList");
    const QByteArray row = "0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, "
                           "0x0B, 0x0C, 0x0D, 0x0E, 0x0F\n";
    QCOMPARE(c.ClipboardData("text/plain"), row + "0x10, 0x11, 0x12");
    QCOMPARE(c.TakeMessages(),
        "0: Memory selection copied to the clipboard (format=hex as C initializer)");
    c.Trigger("View4ByteItems");
    c.Select(kBase, kBase + 7);
    c.SetBigEndian(true); // the list's numbers are little-endian all the same
    c.Trigger("CopyIntList");
    QCOMPARE(c.ClipboardData("text/plain"), "0x03020100, 0x07060504");
}

void MemCommandsTest::pasteWritesTheBytesAndReadsThemBack()
{
    Commands c;
    const CellMap cells = c.Cells();
    c.Click(2, cells.HexColumn(kBase + 0x25, 1));
    QGuiApplication::clipboard()->setText("AB\n");
    c.target.reads.clear();
    QTest::keyClick(c.view, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(c.Writes(), "20000025:41420A");
    QCOMPARE(c.target.reads.size(), std::size_t(1));
    QCOMPARE(c.target.reads[0].address, kBase + 0x25);
    QCOMPARE(c.target.reads[0].length, 3U);
    QVERIFY(c.Row(2).contains("24 41 42  0A") || c.Row(2).contains("24 41 42 0A"));

    c.target.writes.clear();
    c.target.failWrites = true;
    c.target.Set(kBase + 0x26, 0x99);
    c.Trigger("Paste");
    QCOMPARE(c.TakeMessages(), "1: Failed to write target memory");
    QVERIFY(c.Row(2).contains("41 99")); // the read-back comes all the same
}

void MemCommandsTest::pasteTakesOnlyBytes()
{
    Commands c;
    c.Trigger("Paste"); // nothing on the clipboard
    QVERIFY(c.target.writes.empty());
    auto *picture = new QMimeData;
    picture->setImageData(QImage(2, 2, QImage::Format_RGB32));
    QGuiApplication::clipboard()->setMimeData(picture);
    c.TakeMessages();
    c.Trigger("Paste");
    QCOMPARE(c.TakeMessages(), "1: Cannot paste clipboard contents: unsupported content type");
    QVERIFY(c.target.writes.empty());
    auto *empty = new QMimeData;
    empty->setData("application/octet-stream", "");
    QGuiApplication::clipboard()->setMimeData(empty);
    c.Trigger("Paste");
    QVERIFY(c.target.writes.empty());
}

void MemCommandsTest::aPasteEndsAtTheEndOfTheSpace()
{
    Commands c;
    auto *data = new QMimeData;
    data->setData("application/octet-stream", QByteArray(100 * 1024 * 1024, 'x'));
    QGuiApplication::clipboard()->setMimeData(data);
    c.GoTo(0xFFFF'FFF0);
    c.Click(0, c.Cells().HexColumn(0xFFFF'FFFD, 0));
    c.Trigger("Paste");
    QCOMPARE(c.Writes(), "FFFFFFFD:787878");
}

void MemCommandsTest::fillWritesItsRangeOnly()
{
    Commands c;
    c.Select(kBase + 3, kBase + 5);
    c.TriggerWithDialog<CMemDialog>("Fill", [&](CMemDialog &dialog) {
        QCOMPARE(dialog.windowTitle(), "Fill Memory");
        QCOMPARE(c.Field(dialog, "pEditBoxAddr"), "20000003");
        QCOMPARE(c.Field(dialog, "editBoxEndAddr"), "20000005");
        QCOMPARE(c.Field(dialog, "pEditBoxSize"), "00000003");
        c.Fill(dialog, "pEditBoxGenVal", "1FF");
        c.Fill(dialog, "pEditBoxSize", "100"); // only the value counts
        c.Accept(dialog);
    });
    QCOMPARE(c.Writes(), "20000003:FFFFFF");
    QCOMPARE(c.Item(kBase + 4), "FF");
    QCOMPARE(c.window.focusWidget(), c.view);

    c.target.writes.clear();
    QTest::keyClick(c.view, Qt::Key_Escape); // no selection: what is on show
    c.TriggerWithDialog<CMemDialog>("Fill", [&](CMemDialog &dialog) {
        QCOMPARE(dialog.GetStartAddress(), kBase);
        QCOMPARE(dialog.GetSize(), c.window.BytesPerPage());
        dialog.reject();
    });
    QVERIFY(c.target.writes.empty());
}

void MemCommandsTest::saveWritesTheRangeOfTheDialog()
{
    QTemporaryDir folder;
    const QString name = folder.filePath("out.bin");
    Commands c;
    c.TriggerWithDialog<CMemDialog>("Save", [&](CMemDialog &dialog) {
        c.Fill(dialog, "pEditBoxGenVal", name);
        c.Fill(dialog, "pEditBoxAddr", "20000010");
        c.Fill(dialog, "pEditBoxSize", "14");
        c.target.reads.clear();
        c.Accept(dialog);
    });
    QCOMPARE(Contents(name).toHex(), "101112131415161718191a1b1c1d1e1f20212223");
    QCOMPARE(c.target.reads.size(), std::size_t(1));
    QCOMPARE(c.target.reads[0].length, 0x14U);
    QCOMPARE(c.TakeMessages(), "");

    c.TriggerWithDialog<CMemDialog>("Save", [&](CMemDialog &dialog) {
        c.Fill(dialog, "pEditBoxGenVal", folder.path());
        c.Accept(dialog);
    });
    QCOMPARE(c.TakeMessages(), "1: Could not open file for writing");
}

void MemCommandsTest::saveOfUnreadableMemory()
{
    QTemporaryDir folder;
    const QString name = folder.filePath("out.bin");
    Commands c;
    const auto save = [&] {
        c.TriggerWithDialog<CMemDialog>("Save", [&](CMemDialog &dialog) {
            c.Fill(dialog, "pEditBoxGenVal", name);
            c.Fill(dialog, "pEditBoxAddr", "20000000");
            c.Fill(dialog, "pEditBoxSize", "13"); // not a whole number of rows
            c.Accept(dialog);
        });
    };
    c.target.failAll = true;
    save();
    QCOMPARE(c.TakeMessages(), "1: Failed to read target memory");
    QVERIFY(!QFile::exists(name));

    c.target.failAll = false;
    c.target.unreadable = {kBase + 2};
    save(); // what can be read is saved, to the last byte, and the hole is reported
    QCOMPARE(Contents(name).toHex(),
        "0001000304050607"
        "08090a0b0c0d0e0f"
        "101112");
    QCOMPARE(c.TakeMessages(), "1: Failed to read target memory");

    c.window.SetCallbacks({});
    QFile::remove(name);
    save();
    QVERIFY(!QFile::exists(name));
}

void MemCommandsTest::loadWritesTheFileAtTheCursor()
{
    QTemporaryDir folder;
    const QString name = folder.filePath("in.bin");
    Put(name, "0123456789");
    Commands c;
    c.Click(1, c.Cells().HexColumn(kBase + 0x18, 0));
    const auto load = [&] {
        c.target.writes.clear();
        c.TriggerWithDialog<CMemDialog>("Load", [&](CMemDialog &dialog) {
            QCOMPARE(dialog.GetStartAddress(), kBase + 0x18);
            c.Fill(dialog, "pEditBoxGenVal", name);
            QCOMPARE(c.Field(dialog, "pEditBoxSize"), "0000000A");
            c.Accept(dialog);
        });
    };
    load();
    QCOMPARE(c.Writes(), "20000018:30313233343536373839");
    QVERIFY(c.Row(1).endsWith("01234567"));

    c.TriggerWithDialog<CMemDialog>("Load", [&](CMemDialog &dialog) {
        c.Fill(dialog, "pEditBoxGenVal", name);
        QVERIFY(QFile::remove(name)); // vanishes between the choice and the click
        c.target.writes.clear();
        c.Accept(dialog);
    });
    QCOMPARE(c.TakeMessages(), "1: Could not open file for reading");
    QVERIFY(c.target.writes.empty());
}

void MemCommandsTest::largeRangesGoInOneCall()
{
    QTemporaryDir folder;
    const QString name = folder.filePath("large.bin");
    constexpr std::uint64_t kSaved = 16 * 1024 * 1024;
    Commands c;
    c.TriggerWithDialog<CMemDialog>("Save", [&](CMemDialog &dialog) {
        c.Fill(dialog, "pEditBoxGenVal", name);
        c.Fill(dialog, "pEditBoxSize", QString::number(kSaved, 16));
        c.target.reads.clear();
        c.Accept(dialog);
    });
    QCOMPARE(c.target.reads.size(), std::size_t(1));
    QCOMPARE(c.target.reads[0].length, kSaved);
    const QByteArray saved = Contents(name);
    QCOMPARE(std::uint64_t(saved.size()), kSaved);
    for (const std::uint64_t at : {std::uint64_t{0}, kSaved / 3, kSaved - 1})
        QCOMPARE(std::uint8_t(saved.at(qsizetype(at))), c.target.ByteAt(kBase + at));

    Put(name, saved.left(1024 * 1024));
    c.TriggerWithDialog<CMemDialog>("Load", [&](CMemDialog &dialog) {
        c.Fill(dialog, "pEditBoxGenVal", name);
        c.Fill(dialog, "pEditBoxAddr", "30000000");
        c.Accept(dialog);
    });
    QCOMPARE(c.target.writes.size(), std::size_t(1));
    QVERIFY(c.target.writes[0].written == saved.left(1024 * 1024));

    // Ranges that no buffer should hold are refused, not attempted.
    c.target.writes.clear();
    c.window.GoTo(0, true, false);
    QTest::keyClick(c.view, Qt::Key_Shift);
    QTest::keyClick(c.view, Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
    c.TakeMessages();
    for (const char *copy : {"CopyBinary", "Copy"}) {
        c.Trigger(copy);
        QCOMPARE(c.TakeMessages(), "1: Copy action could not be performed: no data to copy");
    }
    c.TriggerWithDialog<CMemDialog>("Fill", [&](CMemDialog &dialog) {
        c.Fill(dialog, "pEditBoxGenVal", "0");
        c.Accept(dialog);
    });
    QCOMPARE(c.TakeMessages(), "1: Failed to write target memory");
    QVERIFY(c.target.writes.empty());
}

void MemCommandsTest::typedAddressesJumpAndAreRemembered()
{
    Commands c;
    const auto enter = [&](const QString &text) {
        c.addressBox->setFocus();
        c.addressBox->lineEdit()->selectAll();
        QTest::keyClicks(c.addressBox->lineEdit(), text);
        QTest::keyClick(c.addressBox->lineEdit(), Qt::Key_Return);
    };
    const auto items = [&] {
        QStringList texts;
        for (int i = 0; i < c.addressBox->count(); ++i)
            texts << c.addressBox->itemText(i);
        return texts.join(u' ');
    };
    enter("20000a07");
    QCOMPARE(c.window.BaseAddress(), kBase + 0xA00);
    QCOMPARE(items(), "20000A07");
    QCOMPARE(c.addressBox->currentText(), "20000A07");
    QVERIFY(c.view->hasFocus());
    enter("2000"); // an address that another one of the list begins with
    QCOMPARE(c.window.BaseAddress(), 0x2000U);
    enter("main");
    QCOMPARE(c.window.BaseAddress(), 0x2000U);
    QCOMPARE(items(), "main 2000 20000A07");
    QCOMPARE(c.TakeMessages(), "");
    enter("20000A07"); // one of the list, typed again
    QCOMPARE(items(), "20000A07 main 2000");
    c.Trigger("GoBack");
    QCOMPARE(c.window.BaseAddress(), 0x2000U); // the jump is in the history once

    c.addressBox->setCurrentIndex(2); // chosen from the list
    QCOMPARE(c.window.BaseAddress(), 0x2000U);
    QCOMPARE(items(), "2000 20000A07 main");
    for (int i = 0; i < 11; ++i)
        enter(QString::number(0x1000 + i, 16));
    QCOMPARE(items(), "100A 1009 1008 1007 1006 1005 1004 1003 1002 1001");
    c.window.ScrollRows(-5);
    c.addressBox->showPopup();
    const std::uint64_t scrolled = c.window.BaseAddress();
    QTest::keyClick(c.addressBox->view(), Qt::Key_Down); // browsing is no jump
    QCOMPARE(c.window.BaseAddress(), scrolled);
    c.addressBox->hidePopup();
    emit c.addressBox->activated(0); // chosen although it is current already
    QCOMPARE(c.window.BaseAddress(), 0x1000U);
}

void MemCommandsTest::goBackReturnsThroughTheHistory()
{
    Commands c;
    QVERIFY(!c.Action("GoBack")->isEnabled());
    c.window.GoTo(0x1000, true, true);
    c.window.ScrollRows(-2);
    c.window.GoTo(0x5000, true, true);
    c.window.GoTo(0x5004, true, true);
    QTest::keyClick(c.view, Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(c.window.BaseAddress(), 0x5000U);
    c.Trigger("GoBack");
    QCOMPARE(c.window.BaseAddress(), 0x1020U);
    c.Trigger("GoBack");
    QCOMPARE(c.window.BaseAddress(), kBase);
    QVERIFY(!c.Action("GoBack")->isEnabled());
    QVERIFY(c.Action("Copy")->isEnabled());
}

void MemCommandsTest::theGoToDialogCountsWhateverButtonClosesIt()
{
    Commands c;
    c.Click(1, c.Cells().HexColumn(kBase + 0x1A, 0));
    c.TriggerWithDialog<QInputDialog>("Goto", [&](QInputDialog &dialog) {
        QCOMPARE(dialog.windowTitle(), "Goto");
        QCOMPARE(dialog.labelText(), "Memory Location:");
        QCOMPARE(dialog.textValue(), "0x2000001A");
        QVERIFY(!dialog.windowIcon().isNull());
        dialog.setTextValue("0x3000");
        dialog.accept();
    });
    QCOMPARE(c.window.BaseAddress(), 0x3000U);
    c.TriggerWithDialog<QInputDialog>("Goto", [&](QInputDialog &dialog) {
        dialog.setTextValue("4000");
        dialog.reject();
    });
    QCOMPARE(c.window.BaseAddress(), 0x4000U);
    QCOMPARE(c.addressBox->itemText(1), "0x3000");
    c.TriggerWithDialog<QInputDialog>("Goto", [&](QInputDialog &dialog) {
        dialog.setTextValue("");
        dialog.accept();
    });
    QCOMPARE(c.window.BaseAddress(), 0x4000U);

    c.Action("Goto")->setData(QStringList("5000")); // a host knows the address already
    c.Trigger("Goto");
    QCOMPARE(c.window.BaseAddress(), 0x5000U);
    c.Action("Goto")->setData(QStringList({"6000", "7000"}));
    c.Trigger("Goto");
    QCOMPARE(c.window.BaseAddress(), 0x5000U);
}

void MemCommandsTest::jumpsNearTheEndKeepTheCursorInside()
{
    Commands c;
    const std::uint64_t page = c.window.BytesPerPage();
    c.window.GoTo(0xFFFF'FFF4, true, true);
    QCOMPARE(c.window.BaseAddress(), 0xFFFF'FFF0U);
    c.target.writes.clear();
    QGuiApplication::clipboard()->setText("!");
    c.Trigger("Paste"); // shows where the cursor is
    QCOMPARE(c.target.writes.at(0).address, 0x1'0000'0000U - page);
    for (const std::uint64_t far : {0x1'0000'0000ULL, 0x1'2345'6789ULL, ~0ULL}) {
        c.target.reads.clear();
        c.window.GoTo(far, true, true);
        QApplication::processEvents();
        for (const FakeTarget::Call &read : c.target.reads)
            QVERIFY(read.address + read.length <= 0x1'0000'0000U);
    }
}

void MemCommandsTest::viewDataFollowsAPointer()
{
    Commands c;
    for (int i = 0; i < 4; ++i)
        c.target.Set(kBase + 0x21 + unsigned(i), std::uint8_t(0x20000508 >> (8 * i)));
    c.window.UpdateFromTarget();
    c.Select(kBase + 0x21, kBase + 0x24);
    c.SetBigEndian(true); // pointers are read in the host's own order
    QTest::keyClick(c.view, Qt::Key_D, Qt::ControlModifier);
    QCOMPARE(c.window.BaseAddress(), kBase + 0x500);
    c.Trigger("CopyBinary");
    QCOMPARE(c.ClipboardData("application/octet-stream").toHex(), "08090a0b");
    c.Trigger("GoBack");
    QCOMPARE(c.window.BaseAddress(), kBase);

    c.target.unreadable = {kBase + 0x23};
    c.window.UpdateFromTarget();
    c.Select(kBase + 0x21, kBase + 0x24);
    c.Trigger("ViewData");
    QCOMPARE(c.window.BaseAddress(), kBase); // not known, so no jump
    QVERIFY(!c.Action("GoBack")->isEnabled());
    c.target.unreadable.clear();
    QTest::keyClick(c.view, Qt::Key_Escape);
    c.window.UpdateFromTarget();
    c.Click(2, c.Cells().HexColumn(kBase + 0x21, 0)); // without a selection, at the cursor
    c.Trigger("ViewData");
    QCOMPARE(c.window.BaseAddress(), kBase + 0x500);
}

void MemCommandsTest::sizesAndWidthsFollowTheirActions()
{
    Commands c;
    QVERIFY(c.Action("AccessAuto")->isChecked());
    QTest::keyClick(c.view, Qt::Key_3, Qt::ControlModifier);
    QCOMPARE(c.window.BytesPerItem(), 4);
    QVERIFY(c.Row(0).startsWith("20000000  03020100 07060504  "));
    c.Trigger("Access2ByteItems");
    QCOMPARE(int{c.target.reads.back().accessWidth}, 2);
    c.window.SetFeatureFlags(kFeatureRefresh); // taking the choice away resets it
    QVERIFY(c.Action("AccessAuto")->isChecked());
    QVERIFY(!c.Action("AccessAuto")->isVisible());
    QVERIFY(!c.Action("Load")->isVisible());
    c.window.UpdateFromTarget();
    QCOMPARE(int{c.target.reads.back().accessWidth}, 0);

    auto *toolBar = c.window.findChild<QToolBar *>("pToolBar");
    QVERIFY(toolBar->isVisible());
    c.addressBox->setFocus();
    c.Trigger("ShowToolbar");
    QVERIFY(!toolBar->isVisible());
    QVERIFY(c.view->hasFocus());
    c.Trigger("ShowToolbar");
    QVERIFY(toolBar->isVisible());
}

void MemCommandsTest::theContextMenuOpensByKeyAtTheCursor()
{
    Commands c;
    c.target.zones = "Default,Data";
    c.target.zoneCount = 2;
    c.Click(3, c.Cells().HexColumn(kBase + 0x38, 0));
    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(1, 1), QPoint(1, 1));
    QKeyEvent shiftF10(QEvent::KeyPress, Qt::Key_F10, Qt::ShiftModifier);
    const QPoint below = c.view->viewport()->mapToGlobal(
        QPoint(2 + c.widthPx * c.Cells().HexColumn(kBase + 0x38, 0), 4 * c.heightPx));
    for (QEvent *event : {static_cast<QEvent *>(&menuKey), static_cast<QEvent *>(&shiftF10)}) {
        QPoint place;
        QStringList texts;
        QTimer::singleShot(0, &c.window, [&] {
            auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
            QVERIFY(menu != nullptr);
            place = menu->pos();
            for (const QAction *action : menu->actions())
                texts << action->text();
            menu->close();
        });
        QApplication::sendEvent(c.view, event);
        QCOMPARE(place, below);
        QVERIFY(texts.contains("Memory &Zone"));
        QVERIFY(!texts.contains("&Go Back")); // offered only where there is a way back
    }
}

void MemCommandsTest::droppedAddressesJumpAndDroppedFilesAsk()
{
    QTemporaryDir folder;
    Put(folder.filePath("drop.bin"), "dropped");
    QMimeData file;
    file.setUrls({QUrl::fromLocalFile(folder.filePath("drop.bin"))});
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
    QCOMPARE(c.addressBox->itemText(0), "0x20000300");

    QVERIFY(drop(file));
    QVERIFY(c.target.writes.empty()); // a drop by itself writes nothing
    bool asked = false;
    QTimer::singleShot(0, &c.window, [&] {
        auto *dialog = qobject_cast<CMemDialog *>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        asked = c.Field(*dialog, "pEditBoxGenVal") == folder.filePath("drop.bin")
            && dialog->GetSize() == 7;
        dialog->reject();
    });
    QApplication::processEvents();
    QVERIFY(asked);
    c.window.SetFeatureFlags(kFeatureRefresh);
    QVERIFY(!drop(file));
}

void MemCommandsTest::settingsComeBack()
{
    Commands c;
    c.window.GoTo(0x2000'0A07, true, true);
    c.window.ScrollRows(-7); // the last jump counts, not where scrolling has led
    c.Trigger("View2ByteItems");
    c.Trigger("Access4ByteItems");
    c.Trigger("ShowToolbar");
    c.addressBox->setEditText("20000b00");
    QTest::keyClick(c.addressBox->lineEdit(), Qt::Key_Return);
    c.TriggerWithDialog<QInputDialog>("Goto", [](QInputDialog &dialog) {
        dialog.setTextValue("0x20000c00");
        dialog.accept();
    });
    c.owner.reset();

    const auto next = std::make_unique<CHexEditor>();
    next->SetCallbacks(c.target.Callbacks());
    next->SetFeatureFlags(kFeatureAccessWidth);
    next->resize(900, 400);
    next->show();
    QApplication::processEvents();
    QCOMPARE(next->BaseAddress(), kBase + 0xC00);
    QCOMPARE(next->windowTitle(), "Memory @ 20000C00");
    QCOMPARE(next->BytesPerItem(), 2);
    QCOMPARE(int{c.target.reads.back().accessWidth}, 4);
    QVERIFY(next->findChild<QAction *>("pActionMemoryView2ByteItems")->isChecked());
    QVERIFY(next->findChild<QAction *>("pActionMemoryAccess4ByteItems")->isChecked());
    QVERIFY(!next->findChild<QAction *>("pActionMemoryShowToolbar")->isChecked());
    QVERIFY(!next->findChild<QToolBar *>("pToolBar")->isVisible());
    const auto *box = next->findChild<QComboBox *>("pEditBoxAddr");
    QCOMPARE(box->count(), 2);
    QCOMPARE(box->itemText(0) + u' ' + box->itemText(1), "0x20000C00 20000B00");
    QCOMPARE(QSettings().value("AppData/HexEditor/Last Input Text").toString(), "0x20000c00");
}

void MemCommandsTest::aWindowMayGoWhileItsDialogIsOpen_data()
{
    QTest::addColumn<QByteArray>("action");
    for (const char *action : {"Goto", "AutoRefresh", "Fill", "Save", "Load", "menu"})
        QTest::newRow(action) << QByteArray(action);
}

void MemCommandsTest::aWindowMayGoWhileItsDialogIsOpen()
{
    QFETCH(QByteArray, action);
    Commands c;
    QTimer::singleShot(0, qApp, [&c] { c.owner.reset(); });
    if (action == "menu")
        emit c.window.customContextMenuRequested(QPoint(20, 20));
    else
        c.Trigger(action.constData());
    QVERIFY(c.owner == nullptr);
    QVERIFY(c.target.writes.empty());
}

void MemCommandsTest::ticksLeaveMenusAndDragsAlone()
{
    Commands c;
    const auto tick = [&c](int times) {
        for (int i = 0; i < times; ++i) {
            c.target.Set(kBase + 0x30, std::uint8_t(i));
            c.window.OnAutoUpdateTimerTimeout();
            QApplication::processEvents();
        }
    };
    bool menuStayed = false;
    QTimer::singleShot(0, &c.window, [&] {
        const QPointer<QWidget> menu = QApplication::activePopupWidget();
        tick(1000);
        menuStayed = menu && menu->isVisible();
        if (menu)
            menu->close();
    });
    emit c.window.customContextMenuRequested(QPoint(20, 20));
    QVERIFY(menuStayed);

    c.addressBox->setEditText("20000000");
    QTest::keyClick(c.addressBox->lineEdit(), Qt::Key_Return);
    c.addressBox->showPopup();
    tick(1000);
    QVERIFY(c.addressBox->view()->isVisible());
    c.addressBox->hidePopup();

    const CellMap cells = c.Cells();
    const QPoint from = c.CellCentre(1, cells.HexColumn(kBase + 0x12, 0));
    const QPoint to = c.CellCentre(2, cells.HexColumn(kBase + 0x25, 0));
    QCursor::setPos(c.view->viewport()->mapToGlobal(to));
    QTest::mousePress(c.view->viewport(), Qt::LeftButton, {}, from);
    QMouseEvent move(QEvent::MouseMove, to, c.view->viewport()->mapToGlobal(to), Qt::NoButton,
        Qt::LeftButton, {});
    QApplication::sendEvent(c.view->viewport(), &move);
    tick(1000);
    QApplication::sendEvent(c.view->viewport(), &move);
    QTest::mouseRelease(c.view->viewport(), Qt::LeftButton, {}, to);
    c.Trigger("CopyBinary");
    QCOMPARE(c.ClipboardData("application/octet-stream").size(), 0x25 - 0x12 + 1);
    QCOMPARE(c.window.BaseAddress(), kBase);
}

QTEST_MAIN(MemCommandsTest)
#include "tst_memcommands.moc"
