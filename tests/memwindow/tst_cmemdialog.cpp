#include "cmemdialog.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

namespace {

/// One dialog and its fields as a user sees them.
struct Fields {
    explicit Fields(MemDialogMode mode) { dialog.SetMode(mode); }

    QLineEdit *Box(const char *name) const
    {
        return dialog.findChild<QLineEdit *>(QLatin1String(name));
    }
    void Type(const char *name, const QString &text) const
    {
        Box(name)->selectAll();
        text.isEmpty() ? QTest::keyClick(Box(name), Qt::Key_Delete)
                       : QTest::keyClicks(Box(name), text);
    }
    QString Range() const { return start->text() + u'|' + end->text() + u'|' + size->text(); }
    bool CanAccept() const
    {
        return dialog.findChild<QDialogButtonBox *>("buttonBox")
            ->button(QDialogButtonBox::Ok)
            ->isEnabled();
    }

    CMemDialog dialog;
    QLineEdit *start = Box("pEditBoxAddr");
    QLineEdit *end = Box("editBoxEndAddr");
    QLineEdit *size = Box("pEditBoxSize");
};

} // namespace

class MemDialogTest : public QObject {
    Q_OBJECT

private slots:
    void eachModeHasItsTextsAndFields_data();
    void eachModeHasItsTextsAndFields();
    void typingBringsTheOtherFieldsInLine();
    void okIsOfferedForSoundInputOnly();
    void loadingTakesTheSizeFromTheFile();
    void aFillValueIsTheLowestByteOfA32BitNumber();
};

void MemDialogTest::eachModeHasItsTextsAndFields_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("texts");
    QTest::addColumn<bool>("takesRange");
    QTest::newRow("load") << 0 << "Load Memory Data|Load|File:" << false;
    QTest::newRow("save") << 1 << "Save Memory Data|Save|File:" << true;
    QTest::newRow("fill") << 2 << "Fill Memory|Fill|Fill Value:" << true;
}

void MemDialogTest::eachModeHasItsTextsAndFields()
{
    QFETCH(int, mode);
    QFETCH(bool, takesRange);
    Fields fields(static_cast<MemDialogMode>(mode));
    QString label;
    for (const QLabel *candidate : fields.dialog.findChildren<QLabel *>()) {
        if (candidate->buddy() == fields.Box("pEditBoxGenVal"))
            label = candidate->text();
    }
    const QString ok = fields.dialog.findChild<QDialogButtonBox *>("buttonBox")
                           ->button(QDialogButtonBox::Ok)
                           ->text();
    QTEST(fields.dialog.windowTitle() + u'|' + ok + u'|' + label, "texts");
    QCOMPARE(fields.end->isEnabled(), takesRange);
    QCOMPARE(fields.size->isEnabled(), takesRange);
    QVERIFY(fields.start->isEnabled());
    QCOMPARE(fields.dialog.findChild<QPushButton *>("pButtonSelectFile")->isHidden(), mode == 2);
}

void MemDialogTest::typingBringsTheOtherFieldsInLine()
{
    Fields fields(MemDialogMode::Save);
    fields.dialog.SetStartAddress(0x20000000);
    fields.dialog.SetSize(0x100);
    QCOMPARE(fields.Range(), "20000000|200000FF|00000100");

    fields.Type("pEditBoxAddr", "fffffff0");
    QCOMPARE(fields.Range(), "fffffff0|1000000EF|00000100"); // typed text stays as typed
    fields.Type("editBoxEndAddr", "ffffffff");
    QCOMPARE(fields.Range(), "fffffff0|ffffffff|00000010");
    fields.Type("editBoxEndAddr", "10");
    QCOMPARE(fields.Range(), "fffffff0|10|");
    fields.Type("editBoxEndAddr", "");
    QCOMPARE(fields.Range(), "fffffff0||");

    fields.Type("pEditBoxSize", "0");
    QCOMPARE(fields.Range(), "fffffff0|FFFFFFF0|0");
    fields.Type("pEditBoxAddr", "1000"); // a size of 0 means two things, on purpose
    QCOMPARE(fields.Range(), "1000||0");
    fields.Type("pEditBoxSize", "FFFFFFFFFFFFFFFF");
    QCOMPARE(fields.Range(), "1000||FFFFFFFFFFFFFFFF");
    QCOMPARE(fields.dialog.GetSize(), ~0ULL);
    fields.Type("pEditBoxSize", "xyz");
    QCOMPARE(fields.Range(), "1000|00001000|xyz");
    QCOMPARE(fields.dialog.GetSize(), 0U);
}

void MemDialogTest::okIsOfferedForSoundInputOnly()
{
    Fields save(MemDialogMode::Save);
    save.dialog.SetStartAddress(0xFFFFFF00);
    save.dialog.SetSize(0x100);
    QVERIFY(!save.CanAccept()); // no file name yet
    save.Type("pEditBoxGenVal", "data.bin");
    QVERIFY(save.CanAccept());
    save.Type("pEditBoxSize", "101"); // one byte past the end of the space
    QVERIFY(!save.CanAccept());
    save.Type("pEditBoxSize", "0");
    QVERIFY(!save.CanAccept());
    save.Type("pEditBoxSize", "1");
    QVERIFY(save.CanAccept());
    save.Type("pEditBoxAddr", "main");
    QVERIFY(!save.CanAccept());

    Fields fill(MemDialogMode::Fill);
    fill.dialog.SetStartAddress(0);
    fill.dialog.SetSize(3);
    for (const char *value : {"FF", "0x1FF", "ffffffff", "0"}) {
        fill.Type("pEditBoxGenVal", value);
        QVERIFY2(fill.CanAccept(), value);
    }
    for (const char *value : {"", "G", "100000000", "-1"}) {
        fill.Type("pEditBoxGenVal", value);
        QVERIFY2(!fill.CanAccept(), value);
    }
}

void MemDialogTest::loadingTakesTheSizeFromTheFile()
{
    QTemporaryDir folder;
    const QString name = folder.filePath("ten.bin");
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("0123456789") == 10);
    file.close();

    Fields load(MemDialogMode::Load);
    load.dialog.SetStartAddress(0x100);
    QVERIFY(!load.CanAccept());
    load.dialog.SetFileName(name);
    QCOMPARE(load.Range(), "00000100|00000109|0000000A");
    QVERIFY(load.CanAccept());
    load.Type("pEditBoxGenVal", folder.path()); // a folder
    QVERIFY(!load.CanAccept());
    load.Type("pEditBoxGenVal", name); // typed by hand, the size follows as well
    QCOMPARE(load.dialog.GetSize(), 10U);
    QCOMPARE(load.dialog.GenericValue(), name);
    QVERIFY(load.CanAccept());
}

void MemDialogTest::aFillValueIsTheLowestByteOfA32BitNumber()
{
    QCOMPARE(int{FillByte("FF")}, 0xFF);
    QCOMPARE(int{FillByte("1234")}, 0x34);
    QCOMPARE(int{FillByte("0x1ff")}, 0xFF);
    QCOMPARE(int{FillByte("1000000AB")}, 0);
    QCOMPARE(int{FillByte("no number")}, 0);
}

QTEST_MAIN(MemDialogTest)
#include "tst_cmemdialog.moc"
