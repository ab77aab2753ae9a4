// Copying in all forms and pasting whatever the clipboard holds, in the memory window itself.

#include "chexeditor.h"
#include "clipboardformats.h"
#include "fuzzinput.h"
#include "fuzzqt.h"
#include "memtypes.h"

#include <QAction>
#include <QClipboard>
#include <QMimeData>

#include <array>
#include <optional>

namespace {

/// The target: a pattern, with holes, and what the window wrote last.
struct Target {
    std::uint8_t holes = 0; ///< bit n: the bytes n of every eight cannot be read
    int answer = 0;         ///< 0: the true count; else one that a broken library might return
    int writes = 0;
    std::uint64_t writeAddress = 0;
    QByteArray written;
} g_target;

bool IsHole(std::uint64_t address)
{
    return (g_target.holes >> (address % 8) & 1) != 0;
}

int Read(std::uint64_t address, std::uint64_t length, std::uint8_t, const char *,
    std::uint8_t *data, std::uint8_t *status)
{
    FuzzRequire(length <= kAddressSpaceEnd && address <= kAddressSpaceEnd - length,
        "no read leaves the address space");
    bool whole = true;
    for (std::uint64_t i = 0; i < length; ++i) {
        whole = whole && !IsHole(address + i);
        data[i] = static_cast<std::uint8_t>((address + i) * 0x9D >> 3);
        status[i] = IsHole(address + i) ? 1 : 0;
    }
    if (g_target.answer != 0)
        return g_target.answer;
    return whole ? static_cast<int>(length) : -1;
}

int Write(std::uint64_t address, std::uint64_t length, std::uint8_t, const char *,
    const std::uint8_t *data)
{
    FuzzRequire(length <= kAddressSpaceEnd && address <= kAddressSpaceEnd - length,
        "no write leaves the address space");
    ++g_target.writes;
    g_target.writeAddress = address;
    g_target.written
        = QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(length));
    return static_cast<int>(length);
}

CHexEditor *MakeWindow()
{
    auto *const window = new CHexEditor; // lives as long as the process
    MemoryCallbacks callbacks;
    callbacks.ReadMemory = Read;
    callbacks.WriteMemory = Write;
    window->SetCallbacks(callbacks);
    window->resize(900, 400);
    window->show();
    QCoreApplication::processEvents();
    return window;
}

/// Jumps as the "Go To" dialog does, by a text.
void GoTo(CHexEditor &window, const QString &text)
{
    auto *const action = window.findChild<QAction *>(QStringLiteral("pActionMemoryGoto"));
    action->setData(QStringList{text});
    action->trigger();
    FuzzRequire(window.BaseAddress() < kAddressSpaceEnd, "the page lies in the address space");
}

/// Copying ranges of any form: nothing is read or written outside, no form loses its shape.
void CheckCopies(FuzzInput &input)
{
    ViewGeometry geometry;
    geometry.SetCharacterSize(8, 16);
    geometry.SetViewSize(200 + 8 * input.Byte(), 400);
    geometry.SetBytesPerItem(1 << input.Byte() % 3);
    const std::uint64_t lower = input.Word() % kAddressSpaceEnd;
    const std::uint64_t upper = std::min(lower + input.Byte() * 3U, kLastAddress);
    const RowLayout layout{geometry, input.Word() % kAddressSpaceEnd, input.Byte() % 2 == 1};
    const RowReader read
        = [](std::uint64_t address, std::span<std::uint8_t> bytes, std::span<ByteStatus> status) {
              Read(address, bytes.size(), 0, "", bytes.data(),
                  reinterpret_cast<std::uint8_t *>(status.data()));
              return true;
          };
    const auto hex = CLIP_Rows(ClipColumn::Hex, layout, lower, upper, read);
    const auto text = CLIP_Rows(ClipColumn::Text, layout, lower, upper, read);
    FuzzRequire(hex && text && !text->contains(QLatin1Char('\n')), "both columns can be copied");
    if (geometry.BytesPerRow() != 0)
        FuzzRequire(text->size() == static_cast<qsizetype>(upper - lower + 1),
            "one character for each byte of the text column");
}

void CheckInitializer(const QByteArray &bytes, std::uint8_t choice)
{
    const std::uint64_t itemBytes = 1U << choice % 3;
    const std::span span(reinterpret_cast<const std::uint8_t *>(bytes.constData()),
        static_cast<std::size_t>(bytes.size()));
    const QByteArray list = CLIP_InitializerList(span, itemBytes, choice / 3 % 5);
    QByteArray back;
    for (QByteArray item : list.simplified().replace(',', "").split(' ')) {
        const qulonglong value = item.toULongLong(nullptr, 16);
        for (std::uint64_t i = 0; i < itemBytes && !item.isEmpty(); ++i)
            back.append(static_cast<char>(value >> (8 * i)));
    }
    FuzzRequire(back == bytes.first(bytes.size() - bytes.size() % qsizetype(itemBytes)),
        "the list read back gives the bytes");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    FuzzStartQt();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static CHexEditor *const window = MakeWindow();
    FuzzInput input(data, size);
    g_target = {};
    g_target.holes = input.Byte();
    const std::uint8_t form = input.Byte();
    if (form % 7 == 6)
        g_target.answer = static_cast<int>(input.Word());
    CheckCopies(input);
    window->SetBytesPerItem(1 << form % 3);
    GoTo(*window, QStringLiteral("0"));
    const std::string address = input.Text(input.Byte() % 20);
    GoTo(*window, QString::fromStdString(address));

    const std::string rest = input.Rest();
    const QByteArray bytes(rest.data(), static_cast<qsizetype>(rest.size()));
    CheckInitializer(bytes, form);
    std::unique_ptr<QMimeData> contents;
    switch (form / 8 % 4) {
    case 0: // also what the hexadecimal and the text column leave on the clipboard
        contents = CLIP_TextData(QString::fromUtf8(bytes));
        break;
    case 1:
        contents = CLIP_RawTextData(bytes);
        break;
    case 2:
        contents = CLIP_BinaryData(bytes);
        break;
    default:
        contents = std::make_unique<QMimeData>();
        contents->setData(QStringLiteral("text/html"), bytes);
    }
    const QByteArray expected = CLIP_PasteBytes(*contents).value_or(QByteArray());
    FuzzRequire(form / 8 % 4 == 3 || form / 8 % 4 == 0 || expected == bytes,
        "raw contents are pasted byte for byte");
    QGuiApplication::clipboard()->setMimeData(contents.release());
    g_target.writes = 0;
    window->OnActionPasteTriggered();
    FuzzRequire(g_target.writes <= 1, "one paste, one write");
    FuzzRequire(g_target.writes == (expected.isEmpty() ? 0 : 1), "only nothing writes nothing");
    if (g_target.writes == 1) {
        const std::uint64_t room = kAddressSpaceEnd - g_target.writeAddress;
        FuzzRequire(g_target.written
                == expected.first(static_cast<qsizetype>(
                    std::min(room, static_cast<std::uint64_t>(expected.size())))),
            "exactly the bytes that fit the address space");
    }
    static unsigned runs = 0;
    if (++runs % 256 == 0) // painting is not the subject here
        QCoreApplication::processEvents();
    return 0;
}
