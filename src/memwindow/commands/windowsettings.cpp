#include "windowsettings.h"

#include "addresshistory.h"

#include <QSettings>
#include <QVariant>

#include <algorithm>
#include <array>

namespace {

constexpr const char *kGroup = "AppData";

constexpr const char *kKeyBaseAddress = "Base Address";
constexpr const char *kKeyBytesPerItem = "Bytes Per Item";
constexpr const char *kKeyAccessWidth = "Access Width";
constexpr const char *kKeyLastInputText = "Last Input Text";
constexpr const char *kKeyShowToolbar = "Show Toolbar";
constexpr const char *kKeyAddressBoxItems = "Address Box Items";

constexpr std::array<std::uint8_t, 3> kItemSizes = {1, 2, 4};
constexpr std::array<std::uint8_t, 4> kAccessWidths = {0, 1, 2, 4};

/// One group of the store, open while the object lives.
class Group {
public:
    explicit Group(const QString &name)
    {
        m_settings.beginGroup(kGroup);
        m_settings.beginGroup(name);
    }

    QSettings *operator->() { return &m_settings; }

    template <std::size_t N>
    std::uint8_t OneOf(
        const char *key, const std::array<std::uint8_t, N> &allowed, std::uint8_t otherwise) const
    {
        const std::uint64_t value = m_settings.value(key, otherwise).toULongLong();
        const auto found = std::find(allowed.begin(), allowed.end(), value);
        return found == allowed.end() ? otherwise : *found;
    }

    QString Text(const char *key, const QString &otherwise) const
    {
        // A text with a comma in it, typed into the file by hand, arrives as a list.
        const QVariant value = m_settings.value(key, otherwise);
        const bool isList = value.userType() == QMetaType::QStringList;
        return isList ? value.toStringList().join(u", ") : value.toString();
    }

private:
    QSettings m_settings;
};

} // namespace

WindowSettings WINSET_Load(const QString &windowName)
{
    const WindowSettings initial;
    WindowSettings settings;
    Group group(windowName);
    // Deliberate: saved with 64 bits, read with 32.
    settings.baseAddress = static_cast<std::uint32_t>(
        group->value(kKeyBaseAddress, quint64{initial.baseAddress}).toULongLong());
    settings.bytesPerItem = group.OneOf(kKeyBytesPerItem, kItemSizes, initial.bytesPerItem);
    settings.accessWidth = group.OneOf(kKeyAccessWidth, kAccessWidths, initial.accessWidth);
    settings.showToolbar = group->value(kKeyShowToolbar, initial.showToolbar).toBool();
    settings.addressBoxItems
        = SoundAddressBoxItems(group->value(kKeyAddressBoxItems).toStringList());
    settings.lastInputText = group.Text(kKeyLastInputText, initial.lastInputText);
    return settings;
}

void WINSET_Save(const QString &windowName, const WindowSettings &settings)
{
    Group group(windowName);
    group->setValue(kKeyBaseAddress, quint64{settings.baseAddress});
    group->setValue(kKeyBytesPerItem, int{settings.bytesPerItem});
    group->setValue(kKeyAccessWidth, int{settings.accessWidth});
    group->setValue(kKeyLastInputText, settings.lastInputText);
    group->setValue(kKeyShowToolbar, settings.showToolbar);
    group->setValue(kKeyAddressBoxItems, settings.addressBoxItems);
}
