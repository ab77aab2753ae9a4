#pragma once

#include "fuzzhome.h"

#include <QApplication>
#include <QStandardPaths>

/// Widgets without a display, in a home of their own. Call it before anything else of Qt.
inline void FuzzStartQt()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    FuzzHome();
    unsetenv("XDG_CONFIG_HOME");
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    new QApplication(argc, argv); // lives as long as the process
}
