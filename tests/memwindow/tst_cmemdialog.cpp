#include "cmemdialog.h"

#include <QDialogButtonBox>
#include <QDir>
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
    QString WhyNot() const { return dialog.findChild<QLabel *>("pLabelWhyNot")->text(); }
    QPushButton *Ok() const
    {
        return dialog.findChild<QDialogButtonBox *>("buttonBox")->button(QDialogButtonBox::Ok);
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
    void eachModeHasItsTextsAndFields()
    {
        const char *texts[] = {"Load Memory Data|Load|File:", "Save Memory Data|Save|File:",
            "Fill Memory|Fill|Fill Value:"};
        for (int mode = 0; mode < 3; ++mode) {
            Fields fields(static_cast<MemDialogMode>(mode));
            const QString label = fields.dialog.findChild<QLabel *>()->text(); // the first one
            QCOMPARE(fields.dialog.windowTitle() + u'|' + fields.Ok()->text() + u'|' + label,
                texts[mode]);
            QCOMPARE(fields.end->isEnabled() && fields.size->isEnabled(), mode != 0);
            QVERIFY(fields.start->isEnabled());
            QCOMPARE(
                fields.dialog.findChild<QPushButton *>("pButtonSelectFile")->isHidden(), mode == 2);
        }
    }

    void typingBringsTheOtherFieldsInLine()
    {
        Fields fields(MemDialogMode::Save);
        fields.dialog.SetStartAddress(0x20000000);
        fields.dialog.SetSize(0x100);
        QCOMPARE(fields.Range(), "20000000|200000FF|00000100");
        const char *start = "pEditBoxAddr";
        const char *end = "editBoxEndAddr";
        const char *size = "pEditBoxSize";
        const std::array<const char *, 3> steps[]
            = {{start, "fffffff0", "fffffff0|1000000EF|00000100"}, // typed text stays as typed
                {end, "ffffffff", "fffffff0|ffffffff|00000010"}, {end, "10", "fffffff0|10|"},
                {end, "", "fffffff0||"}, {size, "0", "fffffff0|FFFFFFF0|0"},
                {start, "1000", "1000||0"}, // a size of 0 means two things, on purpose
                {size, "FFFFFFFFFFFFFFFF", "1000||FFFFFFFFFFFFFFFF"},
                {size, "xyz", "1000|00001000|xyz"}};
        for (const auto &[box, text, range] : steps) {
            fields.Type(box, text);
            QCOMPARE(fields.Range(), range);
        }
        QCOMPARE(fields.dialog.GetSize(), 0U);
    }

    void okIsOfferedForSoundInputOnly()
    {
        Fields save(MemDialogMode::Save);
        save.dialog.SetStartAddress(0xFFFFFF00);
        save.dialog.SetSize(0x100);
        QVERIFY(!save.Ok()->isEnabled()); // no file name yet
        const std::tuple<const char *, const char *, bool> steps[]
            = {{"pEditBoxGenVal", "/tmp", false}, {"pEditBoxGenVal", "/nonexistent/x", false},
                {"pEditBoxGenVal", "/dev/null", false}, {"pEditBoxGenVal", "~/x.bin", true},
                {"pEditBoxGenVal", "data.bin", true},
                {"pEditBoxSize", "101", false}, // one byte past the end of the space
                {"pEditBoxSize", "0", false}, {"pEditBoxSize", "1", true},
                {"pEditBoxAddr", "main", false}};
        for (const auto &[box, text, isSound] : steps) {
            save.Type(box, text);
            QVERIFY2(save.Ok()->isEnabled() == isSound, text);
            QVERIFY2(save.WhyNot().isEmpty() == isSound, text); // it says what is missing
        }
        save.Type("pEditBoxGenVal", "~/x.bin");
        QCOMPARE(save.dialog.FilePath(), QDir::homePath() + "/x.bin");
        Fields fill(MemDialogMode::Fill);
        fill.dialog.SetStartAddress(0);
        fill.dialog.SetSize(3);
        const std::tuple<const char *, bool, int> values[]
            = {{"FF", true, 0xFF}, {"0x1fE", true, 0xFE}, {"ffffffff", true, 0xFF}, {"0", true, 0},
                {"", false, 0}, {"G", false, 0}, {"1000000AB", false, 0}, {"-1", false, 0}};
        for (const auto &[value, isSound, byte] : values) {
            fill.Type("pEditBoxGenVal", value);
            QVERIFY2(fill.Ok()->isEnabled() == isSound, value);
            QCOMPARE(int{FillByte(value)}, byte);
        }
    }

    void loadingTakesTheSizeFromTheFile()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("ten.bin");
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("0123456789") == 10);
        file.close();

        Fields load(MemDialogMode::Load);
        load.dialog.SetStartAddress(0x100);
        QVERIFY(!load.Ok()->isEnabled());
        load.dialog.SetFileName(name);
        QCOMPARE(load.Range(), "00000100|00000109|0000000A");
        QVERIFY(load.Ok()->isEnabled());
        load.Type("pEditBoxGenVal", folder.path()); // a folder
        QVERIFY(!load.Ok()->isEnabled());
        load.Type("pEditBoxGenVal", name); // typed by hand, the size follows as well
        QCOMPARE(load.dialog.GetSize(), 10U);
        QVERIFY(load.Ok()->isEnabled());
    }
};

QTEST_MAIN(MemDialogTest)
#include "tst_cmemdialog.moc"
