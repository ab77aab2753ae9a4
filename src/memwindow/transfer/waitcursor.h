#pragma once

#include <QtGlobal>

/// Shows the wait cursor while it lives: for target and file access that may take its time.
class WaitCursor {
public:
    WaitCursor();
    ~WaitCursor();
    Q_DISABLE_COPY_MOVE(WaitCursor)
};
