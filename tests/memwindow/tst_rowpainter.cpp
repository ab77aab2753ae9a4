#include "randomseed.h"
#include "rowpainter.h"
#include "tablerows.h"
#include "viewfont.h"

#include <QFontMetrics>
#include <QPainter>

namespace {

constexpr RowColours kLight{.base = 0xFFFFFFFF,
    .text = 0xFF000000,
    .selection = 0xFFE6E6E6,
    .runBackground = 0xFFFFFFFF,
    .highlight = 0xFF308CC6,
    .highlightedText = 0xFFFFFFFF};
constexpr RowColours kDark{.base = 0xFF1E1E1E,
    .text = 0xFFF0F0F0,
    .selection = 0xFF3A3A3A,
    .runBackground = 0xFF1E1E1E,
    .highlight = 0xFF2A82DA,
    .highlightedText = 0xFF000000};
constexpr int kRows = 5;

struct Setting {
    const char *name;
    const char *family;
    int pixelSize;
    qreal scale;
    int heightPx = -1; ///< of a row; -1: as the font has it
};

/// A row as the view may compose it, with runs where bytes would be.
ComposedLine RandomRow(std::mt19937_64 &generator)
{
    ComposedLine line;
    line.length = 76;
    for (int column = 0; column < line.length; ++column) {
        const int character = Pick(generator, 32, 255);
        const bool isShown = character < 127 || (character > 160 && character != 173);
        line.text[std::size_t(column)] = isShown ? char(character) : '.';
    }
    line.text[76] = ' ';
    for (int column = 10; column < 76; column += column < 58 ? 3 : 1) {
        if (Pick(generator, 0, 2) == 0)
            line.runs[std::size_t(line.runCount++)]
                = {column, column < 58 ? 2 : 1, std::uint8_t(Pick(generator, 1, 3))};
    }
    return line;
}

} // namespace

class RowPainterTest : public QObject {
    Q_OBJECT

private slots:
    void copiedCellsEqualDrawnText_data()
    {
        AddRows<Setting>({{"a scale of no parts", "DejaVu Sans Mono", 12, 1.15},
            {"of no size", "DejaVu Sans Mono", 1, 1, 0},
            {"of no height", "DejaVu Sans Mono", 13, 1.5, 0},
            {"higher than an image can be", "DejaVu Sans Mono", 13, 1.5, 100'000'000},
            {"huge", "DejaVu Sans Mono", 3000, 1, 3500}});
        for (const char *family : {"DejaVu Sans Mono", "Liberation Mono", "Nimbus Mono PS"}) {
            for (const int pixelSize : {9, 13, 21}) {
                for (const qreal scale : {1.0, 1.25, 1.5, 1.75, 2.0})
                    QTest::addRow("%s %d at %g", family, pixelSize, scale)
                        << Setting{"", family, pixelSize, scale};
            }
        }
    }

    /// The same random rows, copied from cells and drawn as texts, each on an image of its own.
    void copiedCellsEqualDrawnText()
    {
        QFETCH(const Setting, row);
        QFont font(row.family);
        font.setPixelSize(row.pixelSize);
        font.setStyleHint(QFont::TypeWriter);
        const int widthPx = CharacterWidth(font);
        const int heightPx = row.heightPx < 0 ? QFontMetrics(font).height() : row.heightPx;
        const QSize size = QSize(80 * widthPx, kRows * heightPx).boundedTo({3000, 1000});
        auto generator = SeededGenerator();
        for (RowColours colours : {kLight, kDark, kDark}) {
            RowPainter rows;
            PlainRowPainter plain;
            if (generator() % 2 == 0)
                colours.runBackground = 0xFFD0FFD0; // a palette of the view's own
            const auto prepare = [&](auto &painter) {
                painter.SetFont(GridFont(font), widthPx, heightPx);
                painter.SetColours(colours);
                painter.SetLeftMargin(2);
            };
            prepare(rows);
            prepare(plain);
            QImage copied(size * row.scale + QSize(8, 8),
                colours.base == kLight.base ? QImage::Format_RGB32
                                            : QImage::Format_ARGB32_Premultiplied);
            copied.fill(Qt::magenta);
            QImage drawn = copied;
            QPainter copier(&copied);
            QPainter drawer(&drawn);
            // A view seldom begins on a whole device pixel.
            const bool whole = row.scale == int(row.scale);
            const QTransform place(row.scale, 0, 0, row.scale,
                whole ? 3 : Pick(generator, 0, 15) / 4.0, whole ? 5 : Pick(generator, 0, 15) / 4.0);
            for (QPainter *painter : {&copier, &drawer}) {
                painter->setTransform(place);
                painter->setFont(plain.Font());
            }
            for (int line = 0; line < kRows; ++line) {
                RowPicture picture{.line = RandomRow(generator), .selection = {}};
                picture.selection.Add(Pick(generator, 10, 30), Pick(generator, 1, 20));
                picture.selection.Add(60, 8);
                picture.cursorHexColumn = line % 2 == 0 ? Pick(generator, 10, 57) : -1;
                picture.cursorTextColumn = line % 2 == 0 ? Pick(generator, 60, 75) : -1;
                picture.isCursorHollow = line % 4 == 0;
                rows.Begin(copier, size.width());
                rows.Draw(copier, line, picture);
                plain.Draw(drawer, line * plain.LineHeight(), size.width(), picture);
            }
            QCOMPARE(copied, drawn); // names the first pixel that differs
        }
    }

    void aChangeColourThatIsHardToSeeIsUnderlined()
    {
        for (const QRgb colour : kAgeColours)
            QVERIFY(!IsHardToSee(colour, kLight.base));
        QVERIFY(!IsHardToSee(0xFFFF0000, kDark.base));
        QVERIFY(IsHardToSee(0xFFAA0000, kDark.base));
        const QFont font("DejaVu Sans Mono", 10);
        const int widthPx = CharacterWidth(font);
        RowPainter rows;
        rows.SetFont(GridFont(font), widthPx, QFontMetrics(font).height());
        for (const RowColours &colours : {kLight, kDark}) {
            rows.SetColours(colours);
            QImage image(10 * widthPx, QFontMetrics(font).height(), QImage::Format_RGB32);
            QPainter painter(&image);
            ComposedLine line;
            line.length = 4;
            std::fill_n(line.text.begin(), 5, ' ');
            line.runs[0] = {1, 2, 3};
            line.runCount = 1;
            rows.Begin(painter, image.width());
            rows.Draw(painter, 0, {.line = line, .selection = {}});
            int marked = 0;
            for (int x = 0; x < image.width(); ++x) {
                for (int y = 0; y < image.height(); ++y)
                    marked += image.pixel(x, y) == colours.text;
            }
            QCOMPARE(marked, colours == kDark ? 2 * widthPx : 0);
        }
    }
};

QTEST_MAIN(RowPainterTest)
#include "tst_rowpainter.moc"
