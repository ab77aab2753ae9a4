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

/// All values in all places of an item.
Bytes Pattern(std::size_t count)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 167 + (i >> 8));
    return bytes;
}

} // namespace

class ClipboardFormatsTest : public QObject {
    Q_OBJECT

private slots:
    void rowsAreCutAtTheSelectionsEnds()
    {
        struct Copy {
            const char *name;
            int bytesPerRow;
            int bytesPerItem;
            bool bigEndian;
            std::uint64_t pageBase;
            std::uint64_t lower;
            std::uint64_t upper;
            const char *hex;
            const char *text;
        };
        const Copy copies[]
            = {{"over the group gap", 16, 1, false, 0, 0x146, 0x149, "46 47  -- 49", "FG.I"},
                {"three rows", 4, 1, false, 0x100, 0x142, 0x14A, "42 43\n44 45 46 47\n-- 49 4A",
                    "BCDEFG.IJ"},
                {"two-byte items", 8, 2, false, 0, 0x142, 0x145, "4342 4544", "BCDE"},
                {"big-endian", 8, 2, true, 0, 0x142, 0x145, "4243 4445", "BCDE"},
                {"odd rows", 4, 1, false, 0x1001, 0x141, 0x145, "41 42 43 44\n45", "ABCDE"},
                {"a row from before the space", 4, 1, false, 0x1002, 0, 2, "00 01\n02", "..."},
                {"a row to behind it", 4, 1, false, 0xFFFFFFFE, 0xFFFFFFFE, 0xFFFFFFFF, "FE FF",
                    "\xFE\xFF"}};
        for (const Copy &copy : copies) {
            const ViewGeometry geometry = WideView(copy.bytesPerRow, copy.bytesPerItem);
            QCOMPARE(int(geometry.BytesPerRow()), copy.bytesPerRow);
            const RowLayout layout = {geometry, copy.pageBase, copy.bigEndian};
            const auto hex
                = CLIP_Rows(ClipColumn::Hex, layout, copy.lower, copy.upper, ReadPattern);
            const auto text
                = CLIP_Rows(ClipColumn::Text, layout, copy.lower, copy.upper, ReadPattern);
            QVERIFY2(hex == QLatin1String(copy.hex), copy.name);
            QVERIFY2(text == QLatin1String(copy.text), copy.name);
        }
    }

    void aReaderThatGivesUpEndsTheCopy()
    {
        int rows = 0;
        const RowReader giveUpAtThird = [&rows](auto, auto, auto) { return ++rows < 3; };
        QVERIFY(!CLIP_Rows(ClipColumn::Hex, {WideView(8, 1), 0, false}, 0, 1000, giveUpAtThird));
        QCOMPARE(rows, 3);
        QCOMPARE(
            CLIP_Rows(ClipColumn::Hex, {ViewGeometry(), 0, false}, 0, 1000, giveUpAtThird).value(),
            "");
    }

    void anInitializerListReadsAsGiven()
    {
        const std::vector<std::tuple<Bytes, std::uint64_t, std::uint64_t, QByteArray>> lists{
            {{1, 2, 3, 4, 5, 6}, 1, 4, "0x01, 0x02, 0x03, 0x04\n0x05, 0x06"},
            {{0xAB, 0xCD}, 1, 2, "0xAB, 0xCD\n"}, // a full last row ends in a break
            {{0x34, 0x12}, 2, 8, "0x1234"},
            {{1, 2, 3, 4, 5, 6}, 4, 4, "0x04030201"}, // a partial item is dropped
            {{1}, 2, 4, ""},
            {{1, 0, 2, 0}, 2, 0, "0x0001, 0x0002"}, // the row is shorter than an item
            {{}, 1, 16, ""}};
        for (const auto &[bytes, itemBytes, itemsPerRow, text] : lists)
            QCOMPARE(CLIP_InitializerList(bytes, itemBytes, itemsPerRow), text);
    }

    void aListCompilesToTheSameBytes_data()
    {
        QTest::addColumn<int>("itemBytes");
        QTest::addColumn<int>("count");
        for (const int size : {1, 2, 4}) {
            for (const int count : {4, 256, 65536})
                QTest::addRow("%d bytes in items of %d", count, size) << size << count;
        }
    }

    void aListCompilesToTheSameBytes()
    {
        QFETCH(int, itemBytes);
        QFETCH(int, count);
        const QString compiler = QStandardPaths::findExecutable("cc");
        if (compiler.isEmpty())
            QSKIP("There is no C compiler.");
        const Bytes bytes = Pattern(std::size_t(count));
        QByteArray list
            = CLIP_InitializerList(bytes, std::uint64_t(itemBytes), 16U / std::uint64_t(itemBytes));
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
        const QString program = folder.filePath("table");
        QProcess process;
        process.start(compiler, {"-Wall", "-Werror", source.fileName(), "-o", program});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.readAllStandardError(), "");
        process.start(program, QStringList());
        QVERIFY(process.waitForFinished());
        const QByteArray compiled = process.readAllStandardOutput();
        QVERIFY(Bytes(compiled.begin(), compiled.end()) == bytes);
    }

    void pastingTakesTheTextsBytesFirst()
    {
        QMimeData contents;
        QVERIFY(!CLIP_PasteBytes(contents));
        const QByteArray binary("\x00\xFF\x0A\x0D raw", 8);
        contents.setData(kMimeBinary, binary);
        QCOMPARE(CLIP_PasteBytes(contents).value(), binary);
        contents.setData(kMimeText, QByteArray("A\0B", 3)); // not cut at the zero byte
        QCOMPARE(CLIP_PasteBytes(contents).value(), QByteArray("A\0B", 3));
    }
};

QTEST_GUILESS_MAIN(ClipboardFormatsTest)
#include "tst_clipboardformats.moc"
