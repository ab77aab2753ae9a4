#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>

/// The settings that a memory window keeps between runs. The initial values are those of a first
/// start.
struct WindowSettings {
    std::uint64_t baseAddress = 0; ///< the address that the last jump asked for
    std::uint8_t bytesPerItem = 1; ///< 1, 2 or 4
    std::uint8_t accessWidth = 0;  ///< 0 (automatic), 1, 2 or 4
    bool showToolbar = true;
    QStringList addressBoxItems; ///< most recent first
    QString lastInputText = QStringLiteral("0");
};

/// Reads the settings of the window with this object name from Qt's settings store. Values that
/// are missing or make no sense, as after an edit by hand, read as those of a first start. The
/// base address is a 32-bit number when read, so a larger one comes back without its upper half.
[[nodiscard]] WindowSettings WINSET_Load(const QString &windowName);

/// Writes all settings of the window with this object name.
void WINSET_Save(const QString &windowName, const WindowSettings &settings);
