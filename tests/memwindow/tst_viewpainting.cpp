#include "memtestwindow.h"
#include "randomseed.h"
#include "rowpainter.h"
#include "viewfont.h"

namespace {

/// What the window really has on the screen.
QImage Screen(MemTestWindow &s)
{
    s.Settled();
    return s.window.windowHandle()->screen()->grabWindow(s.window.winId()).toImage();
}

void ChangeSomeBytes(MemTestWindow &s, std::mt19937_64 &generator)
{
    for (int count = Pick(generator, 0, 30); count > 0; --count) {
        const std::uint64_t address
            = s.window.BaseAddress() + Pick(generator, std::uint64_t{0}, s.window.BytesPerPage());
        s.target.Set(address, std::uint8_t(Pick(generator, 0, 255)));
        if (Pick(generator, 0, 20) == 0)
            s.target.unreadable.insert(address);
    }
    if (Pick(generator, 0, 9) == 0)
        s.target.unreadable.clear();
}

/// One random thing that a user or the target does.
void DoSomething(MemTestWindow &s, std::mt19937_64 &generator)
{
    constexpr Qt::Key keys[] = {Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Right, Qt::Key_Home,
        Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Escape};
    const bool seldom = Pick(generator, 0, 3) == 0;
    switch (Pick(generator, 0, 10)) {
    case 0:
    case 1:
        ChangeSomeBytes(s, generator);
        return s.window.OnAutoUpdateTimerTimeout();
    case 2:
    case 3:
        return s.window.ScrollRows(Pick(generator, -12, 12));
    case 4:
    case 5:
        return s.Key(keys[Pick(generator, 0, 8)], seldom ? Qt::ShiftModifier : Qt::NoModifier);
    case 6:
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseMove,
                 QEvent::MouseButtonRelease})
            s.Mouse(type,
                {Pick(generator, 0, s.view->width()), Pick(generator, 0, s.view->height() - 1)});
        return;
    case 7:
        return s.view->viewport()->update(Pick(generator, 0, 600), Pick(generator, 0, 400),
            Pick(generator, 1, 80), Pick(generator, 1, 60));
    case 8:
        return seldom ? s.window.GoTo(Pick(generator, std::uint64_t{0}, kLastAddress), true, false)
                      : s.WheelOver(s.view->viewport(), Pick(generator, -3, 3) * 120);
    case 9: // the cursor looks different without the focus
        return seldom ? s.addressBox->setFocus() : s.view->setFocus();
    default:
        return seldom ? s.window.resize(Pick(generator, 400, 1200), Pick(generator, 200, 500))
                      : s.window.SetBytesPerItem(1 << Pick(generator, 0, 2));
    }
}

struct Look {
    const char *name;
    qreal points;
    bool bold;
    QRgb base;
};

// Base, text, selection, background of runs, the cursor's background and its text.
constexpr RowColours kLight{0xFFFFFFFF, 0xFF000000, 0xFFE6E6E6, 0xFFFFFFFF, 0xFF308CC6, 0xFFFFFFFF};
constexpr RowColours kDark{0xFF1E1E1E, 0xFFF0F0F0, 0xFF3A3A3A, 0xFF1E1E1E, 0xFF2A82DA, 0xFF000000};
constexpr int kRows = 5;

struct Setting {
    const char *name;
    const char *family;
    int pixelSize;
    qreal scale;
    int heightPx = -1; ///< of a row; -1: as the font has it
};

void Prepare(auto &painter, const QFont &font, int heightPx, const RowColours &colours)
{
    painter.SetFont(GridFont(font), CharacterWidth(font), heightPx);
    painter.SetColours(colours);
    painter.SetLeftMargin(2);
}

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

/// Properties of the painted window over random use. The whole program runs once for each scale
/// factor, which Qt takes at the start only.
class ViewPaintingTest : public QObject {
    Q_OBJECT

private slots:
    void partialPaintsEqualAFullPaint_data()
    {
        AddRows<Look>({{"usual", 9, false, 0xFFFFFF}, {"small, dark", 7, false, 0x1E1E1E},
            {"large and bold, dark", 12.5, true, 0x1E1E1E}});
    }

    void partialPaintsEqualAFullPaint()
    {
        QFETCH(const Look, row);
        QFont font = QApplication::font();
        font.setPointSizeF(row.points);
        font.setBold(row.bold);
        QApplication::setFont(font);
        QApplication::setPalette(QPalette(QColor(row.base), QColor(row.base)));
        auto generator = SeededGenerator();
        MemTestWindow s;
        for (int step = 0; step < 100; ++step) {
            DoSomething(s, generator);
            if (Pick(generator, 0, 2) == 0) // several things before a paint as well
                continue;
            const QImage partial = Screen(s);
            s.view->viewport()->update();
            s.scrollBar->update();
            QVERIFY(!partial.isNull());
            QVERIFY2(partial == Screen(s), qPrintable(QStringLiteral("step %1").arg(step)));
        }
    }

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
            Prepare(rows, font, heightPx, colours);
            Prepare(plain, font, heightPx, colours);
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
        const QFont font("DejaVu Sans Mono", 10);
        ComposedLine line;
        line.text.fill(' ');
        line.length = 10;
        for (const int age : {1, 2, 3})
            line.runs[std::size_t(line.runCount++)] = {3 * age - 2, 2, std::uint8_t(age)};
        for (const RowColours &colours : {kLight, kDark}) {
            PlainRowPainter plain;
            Prepare(plain, font, QFontMetrics(font).height(), colours);
            QImage image(12 * CharacterWidth(font), plain.LineHeight(), QImage::Format_RGB32);
            QPainter painter(&image);
            plain.Draw(painter, 0, image.width(), {.line = line, .selection = {}});
            int underlined = 0; // pixels
            for (int i = 0; i < image.width() * image.height(); ++i)
                underlined += image.pixel(i % image.width(), i / image.width()) == colours.text;
            // On a dark base all but the brightest, and none on a light one.
            QCOMPARE(underlined, colours == kDark ? 2 * 2 * CharacterWidth(font) : 0);
        }
    }
};

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) {
        QApplication application(argc, argv);
        QApplication::setCursorFlashTime(0); // the address box's would blink between two pictures
        ViewPaintingTest test;
        return QTest::qExec(&test, argc, argv);
    }
    bool failed = false;
    for (const char *scale : {"1", "1.25", "1.5", "1.75", "2"}) {
        qputenv("QT_SCALE_FACTOR", scale);
        QStringList tests{"partialPaintsEqualAFullPaint"};
        if (QByteArray(scale) == "1") // what is drawn does not depend on it
            tests << "copiedCellsEqualDrawnText"
                  << "aChangeColourThatIsHardToSeeIsUnderlined";
        failed |= QProcess::execute(QString::fromLocal8Bit(argv[0]), tests) != 0;
    }
    return failed ? 1 : 0;
}

#include "tst_viewpainting.moc"
