#include "randomseed.h"
#include "rowpainter.h"
#include "viewfont.h"

#include <QFontMetrics>
#include <QPainter>
#include <QtTest>

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
constexpr RowColours kOwnRunBackground = [] {
    RowColours colours = kDark;
    colours.runBackground = 0xFFD0FFD0;
    return colours;
}();

struct Setting {
    QFont font;
    int width;
    int height;
};

Setting MakeSetting(const QString &family, int pixelSize)
{
    QFont font(family);
    font.setPixelSize(pixelSize);
    font.setStyleHint(QFont::TypeWriter);
    return {GridFont(font), CharacterWidth(font), QFontMetrics(font).height()};
}

/// A row as the view may compose it, with runs where bytes would be.
void FillRow(std::mt19937_64 &generator, ComposedLine &line)
{
    line.length = 76;
    for (int column = 0; column < line.length; ++column) {
        int character = Pick(generator, 32, 255);
        if ((character >= 127 && character <= 160) || character == 173)
            character = '.';
        line.text[std::size_t(column)] = char(character);
    }
    line.text[76] = ' ';
    line.runCount = 0;
    for (int column = 10; column < 58; column += 3) {
        if (Pick(generator, 0, 2) == 0)
            line.runs[std::size_t(line.runCount++)]
                = {column, 2, std::uint8_t(Pick(generator, 1, 3))};
    }
    for (int column = 60; column < 76; ++column) {
        if (Pick(generator, 0, 2) == 0)
            line.runs[std::size_t(line.runCount++)]
                = {column, 1, std::uint8_t(Pick(generator, 1, 3))};
    }
}

/// The same rows by both painters, each on its own image.
struct BothPainters {
    RowPainter rows;
    PlainRowPainter plain;
    QImage copied;
    QImage drawn;

    BothPainters(const Setting &setting, const RowColours &colours)
    {
        rows.SetFont(setting.font, setting.width, setting.height);
        rows.SetColours(colours);
        rows.SetLeftMargin(2);
        plain.SetFont(setting.font, setting.width, setting.height);
        plain.SetColours(colours);
        plain.SetLeftMargin(2);
    }

    /// @param place  of the view on the image
    void Draw(QSize imageSize, QImage::Format format, const QTransform &place, int widthPx,
        std::mt19937_64 &generator)
    {
        copied = QImage(imageSize, format);
        copied.fill(Qt::magenta);
        drawn = copied;
        QPainter copier(&copied);
        QPainter drawer(&drawn);
        for (QPainter *painter : {&copier, &drawer}) {
            painter->setTransform(place);
            painter->setFont(plain.Font());
        }
        for (int row = 0; row < kRows; ++row) {
            ComposedLine line;
            FillRow(generator, line);
            RowPicture picture{.line = line, .selection = {}};
            picture.selection.Add(Pick(generator, 10, 30), Pick(generator, 1, 20));
            picture.selection.Add(60, 8);
            picture.cursorHexColumn = row % 2 == 0 ? Pick(generator, 10, 57) : -1;
            picture.cursorTextColumn = row % 2 == 0 ? Pick(generator, 60, 75) : -1;
            picture.isCursorHollow = row % 4 == 0;
            rows.Begin(copier, widthPx);
            rows.Draw(copier, row, picture);
            plain.Draw(drawer, row * plain.LineHeight(), widthPx, picture);
        }
    }

    static constexpr int kRows = 5;
};

/// Fails with the first pixel in which two pictures differ.
void CompareImages(const QImage &a, const QImage &b)
{
    if (a == b)
        return;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            QVERIFY2(a.pixel(x, y) == b.pixel(x, y),
                qPrintable(QStringLiteral("at (%1, %2)").arg(x).arg(y)));
    }
}

} // namespace

class RowPainterTest : public QObject {
    Q_OBJECT

private slots:
    void copiedCellsEqualDrawnText_data()
    {
        QTest::addColumn<QString>("family");
        QTest::addColumn<int>("pixelSize");
        QTest::addColumn<qreal>("scale");
        for (const QString &family :
            QStringList{"DejaVu Sans Mono", "Liberation Mono", "Nimbus Mono PS"}) {
            for (const int pixelSize : {9, 13, 21}) {
                for (const qreal scale : {1.0, 1.25, 1.5, 1.75, 2.0})
                    QTest::addRow("%s %d at %g", qPrintable(family), pixelSize, scale)
                        << family << pixelSize << scale;
            }
        }
        QTest::newRow("a scale of no parts") << "DejaVu Sans Mono" << 12 << 1.15;
    }

    void copiedCellsEqualDrawnText()
    {
        QFETCH(qreal, scale);
        const Setting setting = FetchSetting();
        auto generator = SeededGenerator();
        const QSize size(80 * setting.width, BothPainters::kRows * setting.height);
        const bool whole = scale == int(scale);
        for (const RowColours &colours : {kLight, kDark, kOwnRunBackground}) {
            BothPainters both(setting, colours);
            // A view seldom begins on a whole device pixel.
            const qreal dx = whole ? 3 : Pick(generator, 0, 15) / 4.0;
            const qreal dy = whole ? 5 : Pick(generator, 0, 15) / 4.0;
            both.Draw(size * scale + QSize(8, 8),
                colours == kLight ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied,
                QTransform(scale, 0, 0, scale, dx, dy), size.width(), generator);
            CompareImages(both.copied, both.drawn);
        }
    }

    void fontsOfAbsurdSizesAreDrawn_data()
    {
        QTest::addColumn<int>("pixelSize");
        QTest::addColumn<int>("height");
        QTest::newRow("of no size") << 1 << 0;
        QTest::newRow("of no height") << 13 << 0;
        QTest::newRow("higher than an image can be") << 13 << 100'000'000;
        QTest::newRow("huge") << 3000 << 3500;
    }

    void fontsOfAbsurdSizesAreDrawn()
    {
        QFETCH(int, pixelSize);
        QFETCH(int, height);
        auto generator = SeededGenerator();
        Setting setting = MakeSetting("DejaVu Sans Mono", pixelSize);
        setting.height = height;
        for (const qreal scale : {1.0, 1.5}) {
            BothPainters both(setting, kLight);
            both.Draw({200, 100}, QImage::Format_RGB32, QTransform::fromScale(scale, scale), 100,
                generator);
            CompareImages(both.copied, both.drawn);
        }
    }

    void everyGlyphStandsOnItsColumn_data() { copiedCellsEqualDrawnText_data(); }

    void everyGlyphStandsOnItsColumn()
    {
        QFETCH(qreal, scale);
        const Setting setting = FetchSetting();
        auto generator = SeededGenerator();
        QString text;
        for (int column = 0; column < 210; ++column)
            text += QLatin1Char("0123456789ABCDEF -.~Wgij"[Pick(generator, 0, 23)]);
        const auto drawInPieces = [&](int pieceChars) {
            QImage image(QSize(220 * setting.width, setting.height) * scale, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter painter(&image);
            painter.scale(scale, scale);
            painter.setFont(setting.font);
            for (int column = 0; column < text.size(); column += pieceChars)
                painter.drawText(
                    QPointF(2 + column * setting.width, QFontMetrics(setting.font).ascent()),
                    text.mid(column, pieceChars));
            return image;
        };
        CompareImages(drawInPieces(210), drawInPieces(1));
    }

    void aChangeColourThatIsHardToSeeIsUnderlined()
    {
        for (const QRgb colour : kAgeColours)
            QVERIFY(!IsHardToSee(colour, kLight.base));
        QVERIFY(!IsHardToSee(0xFFFF0000, kDark.base));
        QVERIFY(IsHardToSee(0xFFAA0000, kDark.base));
        const Setting setting = MakeSetting("DejaVu Sans Mono", 13);
        RowPainter rows;
        rows.SetFont(setting.font, setting.width, setting.height);
        for (const RowColours &colours : {kLight, kDark}) {
            rows.SetColours(colours);
            QImage image(10 * setting.width, setting.height, QImage::Format_RGB32);
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
            QCOMPARE(marked, colours == kDark ? 2 * setting.width : 0);
        }
    }

private:
    static Setting FetchSetting()
    {
        QFETCH(QString, family);
        QFETCH(int, pixelSize);
        return MakeSetting(family, pixelSize);
    }
};

QTEST_MAIN(RowPainterTest)
#include "tst_rowpainter.moc"
