#include "settingsimage.h"

#include <QRegularExpression>
#include <QTest>

#include <memory>
#include <random>

namespace {

QByteArray BytesOf(const SettingsImage &image)
{
    return {image.Text().data(), static_cast<qsizetype>(image.Text().size())};
}

/// The model: the file as a text without further structure, searched by patterns. A line starts at
/// the text's start or behind a line end.
struct Found {
    qsizetype header = -1;   ///< start of what follows the section's header; -1: no section
    qsizetype key = -1;      ///< start of the key's line; -1: no key
    qsizetype keyLength = 0; ///< with its line end
    QByteArray line;         ///< without it
};

QRegularExpression Pattern(const QString &pattern)
{
    static QHash<QString, QRegularExpression> compiled;
    QRegularExpression &known = compiled[pattern];
    if (known.pattern().isEmpty())
        known = QRegularExpression(pattern);
    return known;
}

Found Find(const QByteArray &bytes, const char *section, const char *key)
{
    static const QString lineStart = "(?:\\A|(?<=[\\r\\n]))";
    static const QString lineEnd = "(?:\\r\\n|\\r|\\n|\\z)";
    const QString text = QString::fromLatin1(bytes);
    Found found;
    const auto headerMatch
        = Pattern(lineStart + "\\[" + section + "\\][ \\t]*" + lineEnd).match(text);
    if (!headerMatch.hasMatch())
        return found;
    found.header = headerMatch.capturedEnd();
    const auto nextMatch = Pattern(lineStart + "\\[").match(text, found.header);
    const qsizetype end = nextMatch.hasMatch() ? nextMatch.capturedStart() : text.size();
    const auto lineMatch = Pattern(lineStart + "([ \\t]*" + key + "[ \\t]*=[^\\r\\n]*)" + lineEnd)
                               .match(text, found.header);
    if (lineMatch.hasMatch() && lineMatch.capturedStart() < end) {
        found.key = lineMatch.capturedStart();
        found.keyLength = lineMatch.capturedLength();
        found.line = lineMatch.captured(1).toLatin1();
    }
    return found;
}

QByteArray Removed(QByteArray text, const Found &found)
{
    return found.key < 0 ? text : text.remove(found.key, found.keyLength);
}

QByteArray Replaced(QByteArray text, const char *section, const char *key, const QByteArray &line)
{
    const Found old = Find(text, section, key);
    text = Removed(text, old);
    qsizetype place = old.header; // a lone "\r" at the header's end may have met a "\n" by now
    const auto endLine = [&] {
        if (!text.isEmpty() && !text.endsWith('\r') && !text.endsWith('\n'))
            text += "\r\n";
    };
    if (place < 0) {
        endLine();
        text += QByteArray("[") + section + "]\r\n";
        place = text.size();
    } else if (place == text.size()) {
        endLine();
        place = text.size();
    }
    return text.insert(place, line);
}

} // namespace

class SettingsImageTest : public QObject {
    Q_OBJECT

private slots:
    void hostileTextsAreChangedAsLines()
    {
        const std::uint32_t seed = std::random_device{}();
        std::mt19937 random(seed);
        const QByteArrayList pieces
            = {"[A]", "[AB]", "K", "K", "KL", "K L", "=", " = ", "= \"", "\r\n", "\r\n", "\r\n",
                "\n", "\r", " ", "\t", "]", "[", "#", QByteArray(1, '\0'), "\xC3\xA4"};
        const auto image = std::make_unique<SettingsImage>();
        for (int round = 0; round < 20'000; ++round) {
            QByteArray text;
            for (auto count = random() % 25; count > 0; --count)
                text += pieces[static_cast<qsizetype>(
                    random() % static_cast<unsigned>(pieces.size()))];
            const char *const section = random() % 2 == 0 ? "A" : "AB";
            const char *const key = random() % 2 == 0 ? "K" : "KL";
            const QByteArray line = key + (" = " + QByteArray::number(round)) + "\r\n";
            const auto describe = [&](const char *what) {
                return QByteArray(what) + ", seed " + QByteArray::number(seed) + ", section "
                    + section + ", key " + key + ": " + text.toPercentEncoding() + " became "
                    + BytesOf(*image).toPercentEncoding();
            };

            QVERIFY(image->Assign(text.toStdString()));
            const Found model = Find(text, section, key);
            const auto found = image->FindKey(section, key, SettingsKeyForm::Plain);
            QVERIFY2(found.has_value() == (model.key >= 0), describe("find"));
            QVERIFY2(!found || model.line == QByteArray(found->data(), qsizetype(found->size())),
                describe("line"));
            QVERIFY(image->ReplaceKey(section, key, SettingsKeyForm::Plain, line.toStdString()));
            const QByteArray replaced = Replaced(text, section, key, line);
            QVERIFY2(BytesOf(*image) == replaced, describe("replace"));
            QVERIFY(image->RemoveKey(section, key, SettingsKeyForm::Plain));
            QVERIFY2(BytesOf(*image) == Removed(replaced, Find(replaced, section, key)),
                describe("remove"));
        }
    }

    void aFullImageRefusesToGrow()
    {
        const QByteArray line = "K = 1\r\n";
        const QByteArray full
            = "[S]\r\nK = 1\r\n" + QByteArray(qsizetype{SettingsImage::kCapacity} - 12, '#');
        SettingsImage image;
        QVERIFY(image.Assign(full.toStdString()));
        QVERIFY(
            image.ReplaceKey("S", "K", SettingsKeyForm::Plain, line.constData())); // same length
        QCOMPARE(BytesOf(image), full);
        QVERIFY(!image.ReplaceKey("S", "K", SettingsKeyForm::Plain, "K = 12\r\n"));
        QVERIFY(!image.ReplaceKey("T", "K", SettingsKeyForm::Plain, line.constData()));
        QVERIFY(!image.Assign(QByteArray(SettingsImage::kCapacity + 1, 'x').toStdString()));
        QCOMPARE(BytesOf(image), full);
    }
};

QTEST_GUILESS_MAIN(SettingsImageTest)
#include "tst_settingsimage.moc"
