// A host of the memory window that has nothing of the program in it: no probe, no shell. It gives
// the window a memory of its own with every optional feature on, does what its arguments say one
// after the other, and prints what the window asks for.

#include "chexeditor.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QTimer>

#include <cstdio>
#include <cstring>

namespace {

// 64 KiB with a hole of 16 bytes; the bytes count up, by threes in the zone "Data".
constexpr std::uint64_t kStart = 0x20000000;
constexpr std::uint64_t kSize = 0x10000;
constexpr std::uint64_t kHole = 0x20000100;
constexpr std::uint64_t kHoleEnd = 0x20000110;
using Memory = std::array<std::uint8_t, kSize>;

Memory &ZoneMemory(const char *zoneName)
{
    static const auto countBy = [](unsigned step) {
        Memory memory{};
        for (std::size_t i = 0; i < kSize; ++i)
            memory[i] = static_cast<std::uint8_t>(i * step);
        return memory;
    };
    static Memory main = countBy(1);
    static Memory data = countBy(3);
    return std::strcmp(zoneName, "Data") == 0 ? data : main;
}

bool AreThere(std::uint64_t address, std::uint64_t length)
{
    const std::uint64_t end = address + length;
    return address >= kStart && end <= kStart + kSize && (end <= kHole || address >= kHoleEnd);
}

int ReadHost(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
    const char *zoneName, std::uint8_t *data, std::uint8_t *status)
{
    std::printf("read %llX %u '%s'\n", static_cast<unsigned long long>(address),
        unsigned{accessWidth}, zoneName);
    if (!AreThere(address, length))
        return -1;
    std::memcpy(data, &ZoneMemory(zoneName)[address - kStart], length);
    std::memset(status, 0, length);
    return static_cast<int>(length);
}

int WriteHost(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
    const char *zoneName, const std::uint8_t *data)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(length));
    std::printf("write %llX %u '%s' %s\n", static_cast<unsigned long long>(address),
        unsigned{accessWidth}, zoneName, bytes.toHex().toUpper().constData());
    if (!AreThere(address, length))
        return -1;
    std::memcpy(&ZoneMemory(zoneName)[address - kStart], data, length);
    return static_cast<int>(length);
}

int ListHostZones(char *text, std::uint32_t size)
{
    std::snprintf(text, size, "Default,Data");
    return 2;
}

void ShowHostMessage(const QString &text, int severity)
{
    std::printf("message %d %s\n", severity, qPrintable(text));
}

/// Opens the context menu and chooses a zone.
void ChooseZone(CHexEditor &window, const QString &zone)
{
    QTimer::singleShot(0, &window, [zone] {
        QWidget *menu = QApplication::activePopupWidget();
        for (QAction *action : menu->findChildren<QAction *>()) {
            if (action->text().trimmed() == zone)
                action->trigger();
        }
        menu->close();
    });
    emit window.customContextMenuRequested(QPoint(50, 50));
}

void Obey(CHexEditor &window, const QString &command, const QString &argument)
{
    if (command == "zone") {
        ChooseZone(window, argument);
    } else if (command == "type") {
        for (const QChar character : argument) {
            QKeyEvent press(QEvent::KeyPress, character.toUpper().unicode(), {}, character);
            QApplication::sendEvent(window.focusWidget(), &press);
        }
    } else { // an action, with what it would otherwise ask for
        auto *action = window.findChild<QAction *>(QStringLiteral("pActionMemory") + command);
        if (!argument.isEmpty())
            action->setData(QStringList(argument));
        action->trigger();
    }
    QApplication::processEvents();
    std::printf("title %s\n", qPrintable(window.windowTitle()));
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    CHexEditor window;
    window.SetCallbacks({.ReadMemory = ReadHost,
        .WriteMemory = WriteHost,
        .ListZones = ListHostZones,
        .ShowMessage = ShowHostMessage});
    window.SetFeatureFlags(kFeatureRefresh | kFeatureLoad | kFeatureAccessWidth);
    window.resize(900, 500);
    window.show();
    window.activateWindow();
    for (const QString &line : QApplication::arguments().mid(1))
        Obey(window, line.section(u' ', 0, 0), line.section(u' ', 1));
    return 0;
}
