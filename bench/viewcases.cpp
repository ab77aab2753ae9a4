#include "viewcases.h"

#include "chexeditor.h"
#include "linecomposer.h"
#include "utilformat.h"
#include "utilhex.h"

#include <QApplication>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QPlainTextEdit>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <random>

namespace {

constexpr QSize kPageSize(1000, 800);
constexpr std::size_t kPoolBytes = 1U << 16;

/// Target memory: a window into a pool of random bytes.
struct Memory {
    std::vector<std::uint8_t> pool = std::vector<std::uint8_t>(2 * kPoolBytes);
    std::size_t shift = 0; ///< moving it changes every byte
    ViewCase::Reads reads;
};

Memory &TheMemory()
{
    static Memory memory;
    return memory;
}

int ReadMemory(std::uint64_t address, std::uint64_t length, std::uint8_t, const char *,
    std::uint8_t *data, std::uint8_t *status)
{
    Memory &memory = TheMemory();
    ++memory.reads.calls;
    memory.reads.bytes += long(length);
    std::memcpy(data, memory.pool.data() + (address + memory.shift) % kPoolBytes, length);
    std::memset(status, 0, length);
    return int(length);
}

void PaintNow()
{
    QCoreApplication::sendPostedEvents();
}

/// Addresses that the case r changes, spread over a page.
class ScatteredPlaces {
public:
    std::uint64_t Next(std::uint64_t pageBytes)
    {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return (m_state >> 33) % pageBytes;
    }

private:
    std::uint64_t m_state = 1;
};

/// Counts the paint events of a viewport and the rows that they touch.
class RowCounter : public QObject {
public:
    RowCounter(QWidget *widget, int lineHeight)
        : m_lineHeight(lineHeight)
    {
        widget->installEventFilter(this);
    }
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::Paint)
            return false;
        ++events;
        for (const QRect &rect : static_cast<QPaintEvent *>(event)->region())
            rows += rect.bottom() / m_lineHeight - rect.top() / m_lineHeight + 1;
        return false;
    }
    long events = 0;
    long rows = 0;

private:
    int m_lineHeight;
};

/// A memory window of the measured size.
class WindowCase : public ViewCase {
public:
    WindowCase()
    {
        std::mt19937 generator(1);
        for (std::uint8_t &byte : TheMemory().pool)
            byte = std::uint8_t(generator());
        MemoryCallbacks callbacks;
        callbacks.ReadMemory = ReadMemory;
        window.SetCallbacks(callbacks);
        window.SetFeatureFlags(kFeatureRefresh);
        window.resize(kPageSize);
        window.show();
        QApplication::processEvents();
        window.GoTo(0x2000'0000, true, false);
        PaintNow();
    }
    double PaintedRows() override
    {
        constexpr int kRuns = 50;
        RowCounter counter(view->viewport(), QFontMetrics(view->font()).height());
        for (int run = 0; run < kRuns; ++run)
            Run();
        m_paintEvents = counter.events;
        return double(counter.rows) / kRuns;
    }
    Reads ReadsSoFar() const override { return TheMemory().reads; }
    long PaintEvents() const override { return m_paintEvents; }

protected:
    CHexEditor window;
    QPlainTextEdit *view = window.findChild<QPlainTextEdit *>();

private:
    long m_paintEvents = 0;
};

class EveryByteChanges : public WindowCase {
    void Run() override
    {
        TheMemory().shift = (TheMemory().shift + 977) % kPoolBytes;
        window.OnAutoUpdateTimerTimeout();
        PaintNow();
    }
};

class SomeBytesChange : public WindowCase {
public:
    explicit SomeBytesChange(bool elsewhere)
        : m_elsewhere(elsewhere)
    {
    }
    void Run() override
    {
        const std::uint64_t page = window.BytesPerPage();
        for (std::uint64_t change = 0; change < page / 100; ++change) {
            const std::uint64_t offset = m_elsewhere ? m_places.Next(page) : change * 101;
            ++TheMemory().pool[(window.BaseAddress() + offset) % kPoolBytes];
        }
        window.OnAutoUpdateTimerTimeout();
        PaintNow();
    }

private:
    bool m_elsewhere;
    ScatteredPlaces m_places;
};

class NothingChanges : public WindowCase {
    void Run() override
    {
        window.OnAutoUpdateTimerTimeout();
        PaintNow();
    }
};

class ScrollOneRow : public WindowCase {
    void Run() override
    {
        window.ScrollRows(-1);
        PaintNow();
    }
};

class JumpFar : public WindowCase {
    void Run() override
    {
        m_address = (m_address + 0x1234'5670) & 0x7FFF'FFF0;
        window.GoTo(m_address, true, false);
        PaintNow();
    }
    std::uint64_t m_address = 0;
};

/// The least work of the text engine for the same page: one prepared string for each row.
class Limit : public ViewCase {
public:
    Limit()
        : m_font(CHexEditor().findChild<QPlainTextEdit *>()->font())
        , m_lineHeight(QFontMetrics(m_font).height())
        , m_image(kPageSize * qApp->devicePixelRatio(), QImage::Format_RGB32)
    {
        m_image.setDevicePixelRatio(qApp->devicePixelRatio());
        std::mt19937 generator(1);
        const int rows = kPageSize.height() / m_lineHeight + 1;
        for (int row = 0; row < rows; ++row) {
            std::array<std::uint8_t, 16> data;
            for (std::uint8_t &byte : data)
                byte = std::uint8_t(generator());
            const std::array<ByteStatus, 16> status{};
            ComposedLine line;
            LineComposer(1, false).ComposeRow(
                0x2000'0000U + 16U * unsigned(row), 16, data.data(), status.data(), nullptr, line);
            m_lines.push_back(QString::fromLatin1(line.text.data(), line.length));
        }
        m_image.fill(Qt::white);
    }
    void Run() override
    {
        DrawRows([](std::size_t) { return true; });
    }
    double PaintedRows() override { return double(m_lines.size()); }

protected:
    /// @return how many rows were drawn
    template <typename Wanted> int DrawRows(Wanted wanted)
    {
        QPainter painter(&m_image);
        painter.setFont(m_font);
        const int ascent = painter.fontMetrics().ascent();
        int drawn = 0;
        for (std::size_t row = 0; row < m_lines.size(); ++row) {
            if (!wanted(row))
                continue;
            painter.drawText(QPointF(2, int(row) * m_lineHeight + ascent), m_lines[row]);
            ++drawn;
        }
        return drawn;
    }

private:
    QFont m_font;
    int m_lineHeight;
    QImage m_image;
    std::vector<QString> m_lines;
};

/// The same strings, of those rows alone in which the case r changed a byte at the last four ticks.
class FadingLimit : public Limit {
public:
    FadingLimit()
    {
        CHexEditor window;
        window.resize(kPageSize);
        window.show();
        QApplication::processEvents();
        m_pageBytes = window.BytesPerPage();
        m_rowBytes = window.BytesPerRow();
    }
    void Run() override { Tick(); }
    double PaintedRows() override
    {
        constexpr int kRuns = 50;
        int rows = 0;
        for (int run = 0; run < kRuns; ++run)
            rows += Tick();
        return double(rows) / kRuns;
    }

private:
    static constexpr std::size_t kTicks = 4; // as long as a change is drawn again
    int Tick()
    {
        m_tick = (m_tick + 1) % kTicks;
        std::vector<std::size_t> &changed = m_changed[m_tick];
        changed.clear();
        for (std::uint64_t change = 0; change < m_pageBytes / 100; ++change)
            changed.push_back(m_places.Next(m_pageBytes) / m_rowBytes);
        return DrawRows([this](std::size_t row) {
            return std::any_of(m_changed.begin(), m_changed.end(), [row](const auto &rows) {
                return std::find(rows.begin(), rows.end(), row) != rows.end();
            });
        });
    }

    std::uint64_t m_pageBytes = 0;
    std::uint64_t m_rowBytes = 1;
    ScatteredPlaces m_places;
    std::array<std::vector<std::size_t>, kTicks> m_changed;
    std::size_t m_tick = 0;
};

/// A bare widget that paints nothing, scrolled like the view.
class EmptyScroll : public ViewCase {
public:
    EmptyScroll()
    {
        m_window.setAttribute(Qt::WA_OpaquePaintEvent);
        m_window.resize(kPageSize);
        m_window.show();
        QApplication::processEvents();
    }
    void Run() override
    {
        m_window.scroll(0, -m_lineHeight);
        PaintNow();
    }

private:
    QWidget m_window;
    int m_lineHeight = QFontMetrics(CHexEditor().findChild<QPlainTextEdit *>()->font()).height();
};

/// Text that is made and thrown away; the volatile read keeps the compiler from leaving it out.
template <typename Make> class TextCase : public ViewCase {
public:
    explicit TextCase(Make make)
        : m_make(make)
    {
    }
    void Run() override
    {
        m_make(m_text);
        const volatile char kept = m_text[0];
        static_cast<void>(kept);
    }

private:
    Make m_make;
    std::array<char, 256> m_text{};
};

template <typename Make> std::unique_ptr<ViewCase> MakeTextCase(Make make)
{
    return std::make_unique<TextCase<Make>>(make);
}

std::unique_ptr<ViewCase> MakeHexRows()
{
    return MakeTextCase([](std::array<char, 256> &text) {
        static const std::array<ByteStatus, 16> status{};
        LineComposer(1, false).ComposeLine(text.data(), text.data() + text.size(), 0x2000'0000, 16,
            TheMemory().pool.data(), status.data());
    });
}

std::unique_ptr<ViewCase> MakeHexLookup()
{
    return MakeTextCase([](std::array<char, 256> &text) {
        char *out = text.data();
        for (int i = 0; i < 16; ++i) {
            out = UTIL_PutHexByte(out, TheMemory().pool[std::size_t(i)]);
            *out++ = ' ';
        }
    });
}

std::unique_ptr<ViewCase> MakeFormat()
{
    return MakeTextCase([](std::array<char, 256> &text) {
        for (int value = 0; value < 256; ++value)
            UTIL_Format(text, "%.2X", value);
    });
}

std::unique_ptr<ViewCase> MakeSnprintf()
{
    return MakeTextCase([](std::array<char, 256> &text) {
        for (int value = 0; value < 256; ++value)
            std::snprintf(text.data(), text.size(), "%.2X", unsigned(value));
    });
}

} // namespace

const std::vector<std::string_view> &ViewCaseNames()
{
    static const std::vector<std::string_view> names{"limit", "rlimit", "empty", "a", "b", "r", "n",
        "c", "d", "format", "snprintf", "hexrows", "hexlookup"};
    return names;
}

std::unique_ptr<ViewCase> MakeViewCase(std::string_view name)
{
    if (name == "limit")
        return std::make_unique<Limit>();
    if (name == "rlimit")
        return std::make_unique<FadingLimit>();
    if (name == "empty")
        return std::make_unique<EmptyScroll>();
    if (name == "a")
        return std::make_unique<EveryByteChanges>();
    if (name == "b" || name == "r")
        return std::make_unique<SomeBytesChange>(name == "r");
    if (name == "n")
        return std::make_unique<NothingChanges>();
    if (name == "c")
        return std::make_unique<ScrollOneRow>();
    if (name == "d")
        return std::make_unique<JumpFar>();
    if (name == "format")
        return MakeFormat();
    if (name == "snprintf")
        return MakeSnprintf();
    if (name == "hexrows")
        return MakeHexRows();
    if (name == "hexlookup")
        return MakeHexLookup();
    return nullptr;
}
