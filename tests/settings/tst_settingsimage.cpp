#include "settingsimage.h"

#include <QTest>

#include <memory>
#include <random>

namespace {

QByteArray BytesOf(const SettingsImage &image)
{
    return {image.Text().data(), static_cast<qsizetype>(image.Text().size())};
}

/// The model: a file is a list of lines, each with its own end.
QByteArrayList LinesOf(const QByteArray &text)
{
    QByteArrayList lines;
    QByteArray line;
    for (qsizetype i = 0; i < text.size(); ++i) {
        line += text[i];
        if (text[i] == '\n' || (text[i] == '\r' && text.mid(i + 1, 1) != "\n")) {
            lines += line;
            line.clear();
        }
    }
    if (!line.isEmpty())
        lines += line;
    return lines;
}

QByteArray Trimmed(QByteArray line, const char *characters)
{
    while (!line.isEmpty() && strchr(characters, line.back()) && line.back() != '\0')
        line.chop(1);
    return line;
}

bool IsHeader(const QByteArray &line, const QByteArray &section)
{
    return Trimmed(Trimmed(line, "\r\n"), " \t") == "[" + section + "]";
}

bool IsKey(QByteArray line, const QByteArray &key)
{
    while (line.startsWith(' ') || line.startsWith('\t'))
        line.remove(0, 1);
    const qsizetype equals = line.indexOf('=');
    return equals >= 0 && Trimmed(line.left(equals), " \t") == key;
}

/// Index of the key's line, or -1; `header` receives that of the section or -1.
qsizetype FindInModel(const QByteArrayList &lines, const QByteArray &section, const QByteArray &key,
    qsizetype &header)
{
    for (header = 0; header < lines.size() && !IsHeader(lines[header], section); ++header) { }
    if (header == lines.size())
        header = -1;
    for (qsizetype i = header + 1; header >= 0 && i < lines.size() && lines[i][0] != '['; ++i) {
        if (IsKey(lines[i], key))
            return i;
    }
    return -1;
}

QByteArray ReplaceInModel(
    QByteArrayList lines, const QByteArray &section, const QByteArray &key, const QByteArray &line)
{
    qsizetype header = -1;
    const qsizetype old = FindInModel(lines, section, key, header);
    if (old >= 0)
        lines.removeAt(old);
    if (header < 0) {
        if (!lines.isEmpty() && lines.last() == Trimmed(lines.last(), "\r\n"))
            lines.last() += "\r\n";
        header = lines.size();
        lines += "[" + section + "]\r\n";
    }
    if (lines[header] == Trimmed(lines[header], "\r\n"))
        lines[header] += "\r\n";
    lines.insert(header + 1, line);
    return lines.join();
}

} // namespace

class SettingsImageTest : public QObject {
    Q_OBJECT

private slots:
    void hostileTextsAreChangedAsLines();
    void edges_data();
    void edges();
    void aFullImageRefusesToGrow();
};

void SettingsImageTest::hostileTextsAreChangedAsLines()
{
    const std::uint32_t seed = std::random_device{}();
    std::mt19937 random(seed);
    const QByteArrayList pieces = {"[A]", "[AB]", "K", "K", "KL", "=", " = ", "= \"", "\r\n",
        "\r\n", "\r\n", "\n", "\r", " ", "\t", "]", "[", "#", QByteArray(1, '\0'), "\xC3\xA4"};
    const auto image = std::make_unique<SettingsImage>();
    for (int round = 0; round < 20'000; ++round) {
        QByteArray text;
        for (auto count = random() % 25; count > 0; --count)
            text += pieces[static_cast<qsizetype>(random() % static_cast<unsigned>(pieces.size()))];
        const QByteArray section = random() % 2 == 0 ? "A" : "AB";
        const QByteArray key = random() % 2 == 0 ? "K" : "KL";
        const QByteArray line = key + " = " + QByteArray::number(round) + "\r\n";
        const auto describe = [&](const char *what) {
            return QByteArray(what) + ", seed " + QByteArray::number(seed) + ", section " + section
                + ", key " + key + ": " + text.toPercentEncoding() + " became "
                + BytesOf(*image).toPercentEncoding();
        };

        QVERIFY(image->Assign({text.constData(), static_cast<std::size_t>(text.size())}));
        qsizetype header = -1;
        const QByteArrayList lines = LinesOf(text);
        const qsizetype index = FindInModel(lines, section, key, header);
        const auto found
            = image->FindKey(section.constData(), key.constData(), SettingsKeyForm::Plain);
        QVERIFY2(found.has_value() == (index >= 0), describe("find"));
        if (found)
            QCOMPARE(QByteArray(found->data(), static_cast<qsizetype>(found->size())),
                Trimmed(lines[index], "\r\n"));

        QVERIFY(image->ReplaceKey(
            section.constData(), key.constData(), SettingsKeyForm::Plain, line.constData()));
        const QByteArray replaced = ReplaceInModel(lines, section, key, line);
        QVERIFY2(BytesOf(*image) == replaced, describe("replace"));

        QVERIFY(image->RemoveKey(section.constData(), key.constData(), SettingsKeyForm::Plain));
        QByteArrayList rest = LinesOf(replaced);
        rest.removeAt(FindInModel(rest, section, key, header));
        QVERIFY2(BytesOf(*image) == rest.join(), describe("remove"));
    }
}

void SettingsImageTest::edges_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after"); // of writing Speed = 1 into TIF
    const QByteArray line = "Speed = 1\r\n";
    QTest::newRow("empty") << QByteArray() << QByteArray("[TIF]\r\n" + line);
    QTest::newRow("header at the very end")
        << QByteArray("[CPU]\r\n[TIF]") << QByteArray("[CPU]\r\n[TIF]\r\n" + line);
    QTest::newRow("no final line end")
        << QByteArray("[CPU]\r\nX = 1") << QByteArray("[CPU]\r\nX = 1\r\n[TIF]\r\n" + line);
    QTest::newRow("newest first") << QByteArray("[TIF]\r\nA = 1\r\nSpeed=7\r\nB = 2\r\n")
                                  << QByteArray("[TIF]\r\n" + line + "A = 1\r\nB = 2\r\n");
    QTest::newRow("bare LF") << QByteArray("[TIF]\nSpeed=7\nB = 2\n")
                             << QByteArray("[TIF]\n" + line + "B = 2\n");
    QTest::newRow("name that only begins so")
        << QByteArray("[TIF]\r\nSpeedMax = 3\r\nSpeed limit = 5\r\n")
        << QByteArray("[TIF]\r\n" + line + "SpeedMax = 3\r\nSpeed limit = 5\r\n");
    QTest::newRow("same key elsewhere")
        << QByteArray("Speed = 2\r\n[CPU]\r\nSpeed = 3\r\n")
        << QByteArray("Speed = 2\r\n[CPU]\r\nSpeed = 3\r\n[TIF]\r\n" + line);
}

void SettingsImageTest::edges()
{
    QFETCH(QByteArray, before);
    SettingsImage image;
    QVERIFY(image.Assign(before.toStdString()));
    QVERIFY(image.ReplaceKey("TIF", "Speed", SettingsKeyForm::Plain, "Speed = 1\r\n"));
    QTEST(BytesOf(image), "after");
}

void SettingsImageTest::aFullImageRefusesToGrow()
{
    const QByteArray line = "K = 1\r\n";
    const QByteArray full
        = "[S]\r\nK = 1\r\n" + QByteArray(qsizetype{SettingsImage::kCapacity} - 12, '#');
    SettingsImage image;
    QVERIFY(image.Assign(full.toStdString()));
    QVERIFY(image.ReplaceKey("S", "K", SettingsKeyForm::Plain, line.constData())); // same length
    QCOMPARE(BytesOf(image), full);
    QVERIFY(!image.ReplaceKey("S", "K", SettingsKeyForm::Plain, "K = 12\r\n"));
    QVERIFY(!image.ReplaceKey("T", "K", SettingsKeyForm::Plain, line.constData()));
    QVERIFY(!image.Assign(QByteArray(SettingsImage::kCapacity + 1, 'x').toStdString()));
    QCOMPARE(BytesOf(image), full);
}

QTEST_GUILESS_MAIN(SettingsImageTest)
#include "tst_settingsimage.moc"
