#include "clipboardformats.h"

#include <QFile>
#include <QMimeData>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <vector>

using Bytes = std::vector<std::uint8_t>;

namespace {

/// A view that is wide enough for this many bytes a row, but not for twice as many.
ViewGeometry WideView(int bytesPerRow, int bytesPerItem)
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetBytesPerItem(bytesPerItem);
    geometry.SetViewSize((15 + bytesPerRow * 9 / 2) * 8, 320);
    return geometry;
}

/// Memory whose bytes are the low byte of their address; reads that leave the space fail the copy.
bool ReadPattern(std::uint64_t address, std::span<std::uint8_t> data, std::span<ByteStatus> status)
{
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<std::uint8_t>(address + i);
        status[i] = address + i == 0x148 ? ByteStatus::ReadFailed : ByteStatus::Valid;
    }
    return address < kAddressSpaceEnd && address + data.size() <= kAddressSpaceEnd;
}

} // namespace

class ClipboardFormatsTest : public QObject {
    Q_OBJECT

private slots:
    void rowsAreCutAtTheSelectionsEnds_data();
    void rowsAreCutAtTheSelectionsEnds();
    void aReaderThatGivesUpEndsTheCopy();
    void anInitializerListReadsAsGiven_data();
    void anInitializerListReadsAsGiven();
    void everyValueOfEverySizeComesBack_data();
    void everyValueOfEverySizeComesBack();
    void aListCompilesToTheSameBytes_data();
    void aListCompilesToTheSameBytes();
    void pastingTakesTheTextsBytesFirst();
};

void ClipboardFormatsTest::rowsAreCutAtTheSelectionsEnds_data()
{
    QTest::addColumn<int>("bytesPerRow");
    QTest::addColumn<int>("bytesPerItem");
    QTest::addColumn<bool>("bigEndian");
    QTest::addColumn<quint64>("pageBase");
    QTest::addColumn<quint64>("lower");
    QTest::addColumn<quint64>("upper");
    QTest::addColumn<QString>("hex");
    QTest::addColumn<QString>("text");
    QTest::newRow("within one row, over the group gap")
        << 16 << 1 << false << quint64{0} << quint64{0x146} << quint64{0x149} << "46 47  -- 49"
        << "FG.I";
    QTest::newRow("three rows") << 4 << 1 << false << quint64{0x100} << quint64{0x142}
                                << quint64{0x14A} << "42 43\n44 45 46 47\n-- 49 4A"
                                << "BCDEFG.IJ";
    QTest::newRow("two-byte items")
        << 8 << 2 << false << quint64{0} << quint64{0x142} << quint64{0x145} << "4342 4544"
        << "BCDE";
    QTest::newRow("two-byte items, big-endian")
        << 8 << 2 << true << quint64{0} << quint64{0x142} << quint64{0x145} << "4243 4445"
        << "BCDE";
    QTest::newRow("rows that start at odd addresses, before the page")
        << 4 << 1 << false << quint64{0x1001} << quint64{0x141} << quint64{0x145}
        << "41 42 43 44\n45"
        << "ABCDE";
    QTest::newRow("a row that begins before the space")
        << 4 << 1 << false << quint64{0x1002} << quint64{0} << quint64{2} << "00 01\n02"
        << "...";
    QTest::newRow("a row that ends behind the space")
        << 4 << 1 << false << quint64{0xFFFFFFFE} << quint64{0xFFFFFFFE} << quint64{0xFFFFFFFF}
        << "FE FF" << QString::fromLatin1("\xFE\xFF");
}

void ClipboardFormatsTest::rowsAreCutAtTheSelectionsEnds()
{
    QFETCH(int, bytesPerRow);
    QFETCH(int, bytesPerItem);
    QFETCH(bool, bigEndian);
    QFETCH(quint64, pageBase);
    QFETCH(quint64, lower);
    QFETCH(quint64, upper);
    const ViewGeometry geometry = WideView(bytesPerRow, bytesPerItem);
    QCOMPARE(int(geometry.BytesPerRow()), bytesPerRow);
    const RowLayout layout = {geometry, pageBase, bigEndian};
    QTEST(CLIP_HexRows(layout, lower, upper, ReadPattern).value(), "hex");
    QTEST(CLIP_TextRows(layout, lower, upper, ReadPattern).value(), "text");
}

void ClipboardFormatsTest::aReaderThatGivesUpEndsTheCopy()
{
    const ViewGeometry geometry = WideView(8, 1);
    int rows = 0;
    const RowReader giveUpAtThird = [&rows](auto, auto, auto) { return ++rows < 3; };
    QVERIFY(!CLIP_HexRows({geometry, 0, false}, 0, 1000, giveUpAtThird));
    QCOMPARE(rows, 3);
    const ViewGeometry nothingShown;
    QCOMPARE(CLIP_HexRows({nothingShown, 0, false}, 0, 1000, giveUpAtThird).value(), "");
}

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

void ClipboardFormatsTest::aListCompilesToTheSameBytes_data()
{
    QTest::addColumn<int>("itemBytes");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("itemsPerRow");
    for (const int size : {1, 2, 4}) {
        QTest::addRow("one row of %d-byte items", size) << size << 16 << 16 / size;
        QTest::addRow("many rows of %d-byte items", size) << size << 65536 << 16 / size;
    }
}

void ClipboardFormatsTest::aListCompilesToTheSameBytes()
{
    QFETCH(int, itemBytes);
    QFETCH(int, count);
    QFETCH(int, itemsPerRow);
    const QString compiler = QStandardPaths::findExecutable("cc");
    if (compiler.isEmpty())
        QSKIP("There is no C compiler.");
    Bytes bytes(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 167 + (i >> 8));
    QByteArray list = CLIP_InitializerList(
        bytes, static_cast<std::uint64_t>(itemBytes), static_cast<std::uint64_t>(itemsPerRow));
    // Rows end in a line break alone. Whoever pastes more than one row adds their commas.
    list.replace("\n", ",\n");

    const QTemporaryDir folder;
    QFile source(folder.filePath("table.c"));
    QVERIFY(source.open(QIODevice::WriteOnly));
    source.write("#include <stdint.h>\n#include <stdio.h>\nconst uint"
        + QByteArray::number(8 * itemBytes) + "_t table[] = {\n" + list
        + "};\nint main(void) { return fwrite(table, 1, sizeof table, stdout) != sizeof table; "
          "}\n");
    source.close();
    QProcess process;
    process.start(
        compiler, {"-Wall", "-Werror", source.fileName(), "-o", folder.filePath("table")});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardError(), "");
    process.start(folder.filePath("table"), QStringList());
    QVERIFY(process.waitForFinished());
    QVERIFY(process.readAllStandardOutput()
        == QByteArray(reinterpret_cast<const char *>(bytes.data()), count));
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
