#pragma once

#include <QtGlobal>

/// Shows the wait cursor for its lifetime, for target and file access that may take long.
class WaitCursor {
public:
    WaitCursor();
    ~WaitCursor();
    Q_DISABLE_COPY_MOVE(WaitCursor)
};
