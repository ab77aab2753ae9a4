#pragma once

#include <QString>

class QWidget;

/// What the user chose from the probe library's device list.
struct TargetDeviceChoice {
    QString name; ///< empty when nothing was chosen
    bool bigEndian = false;
};

/// Reads the probe library's device list and lets the user choose from it.
/// @param currentName  the device to begin with
[[nodiscard]] TargetDeviceChoice ChooseTargetDevice(const QString &currentName);
