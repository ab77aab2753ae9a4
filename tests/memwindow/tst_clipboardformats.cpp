#include "clipboardformats.h"

#include <QMimeData>
#include <QTest>

#include <vector>

using Bytes = std::vector<std::uint8_t>;

class ClipboardFormatsTest : public QObject
{
    Q_OBJECT

private slots:
    void anInitializerListReadsAsGiven_data();
    void anInitializerListReadsAsGiven();
    void everyValueOfEverySizeComesBack_data();
    void everyValueOfEverySizeComesBack();
    void pastingTakesTheTextsBytesFirst();
};

void ClipboardFormatsTest::anInitializerListReadsAsGiven_data()
{
    QTest::addColumn<Bytes>("bytes");
    QTest::addColumn<int>("itemBytes");
    QTest::addColumn<int>("itemsPerRow");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("partial last row")
        << Bytes{1, 2, 3, 4, 5, 6} << 1 << 4 << QByteArray("0x01, 0x02, 0x03, 0x04\n0x05, 0x06");
    QTest::newRow("full last row ends in a break")
        << Bytes{0xAB, 0xCD} << 1 << 2 << QByteArray("0xAB, 0xCD\n");
    QTest::newRow("two bytes, little-endian")
        << Bytes{0x34, 0x12} << 2 << 8 << QByteArray("0x1234");
    QTest::newRow("four bytes, partial item dropped")
        << Bytes{1, 2, 3, 4, 5, 6} << 4 << 4 << QByteArray("0x04030201");
    QTest::newRow("less than one item") << Bytes{1} << 2 << 4 << QByteArray("");
    QTest::newRow("row shorter than an item")
        << Bytes{1, 0, 2, 0} << 2 << 0 << QByteArray("0x0001, 0x0002");
    QTest::newRow("nothing") << Bytes{} << 1 << 16 << QByteArray("");
}

void ClipboardFormatsTest::anInitializerListReadsAsGiven()
{
    QFETCH(Bytes, bytes);
    QFETCH(int, itemBytes);
    QFETCH(int, itemsPerRow);
    QTEST(CLIP_InitializerList(bytes, static_cast<std::uint64_t>(itemBytes),
              static_cast<std::uint64_t>(itemsPerRow)),
        "text");
}

void ClipboardFormatsTest::everyValueOfEverySizeComesBack_data()
{
    QTest::addColumn<int>("itemBytes");
    for (const int size : {1, 2, 4})
        QTest::addRow("%d", size) << size;
}

void ClipboardFormatsTest::everyValueOfEverySizeComesBack()
{
    QFETCH(int, itemBytes);
    Bytes bytes(65536);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 167 + (i >> 8)); // all values in all places
    const QByteArray text = CLIP_InitializerList(bytes, static_cast<std::uint64_t>(itemBytes), 16);

    Bytes read;
    for (const QByteArray &row : text.split('\n')) {
        if (row.isEmpty())
            continue;
        for (const QByteArray &item : row.split(',')) {
            bool ok = false;
            const quint32 value = item.trimmed().toUInt(&ok, 16);
            QVERIFY2(ok && item.trimmed().size() == 2 + 2 * itemBytes, item.constData());
            for (int b = 0; b < itemBytes; ++b)
                read.push_back(static_cast<std::uint8_t>(value >> (8 * b)));
        }
    }
    QVERIFY(read == bytes);
}

void ClipboardFormatsTest::pastingTakesTheTextsBytesFirst()
{
    QMimeData contents;
    QVERIFY(!CLIP_PasteBytes(contents));
    contents.setData("image/png", "picture");
    QVERIFY(!CLIP_PasteBytes(contents));

    QByteArray binary("\x00\xFF\x0A\x0D raw", 8);
    contents.setData(kMimeBinary, binary);
    QCOMPARE(CLIP_PasteBytes(contents).value(), binary);
    contents.setData(kMimeText, QByteArray("A\0B", 3)); // not cut at the zero byte
    QCOMPARE(CLIP_PasteBytes(contents).value(), QByteArray("A\0B", 3));
    QCOMPARE(CLIP_PasteBytes(*CLIP_TextData("0x12")).value(), "0x12"); // characters, not a number
}

QTEST_GUILESS_MAIN(ClipboardFormatsTest)
#include "tst_clipboardformats.moc"
