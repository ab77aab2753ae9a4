#pragma once

#include <QtGlobal>

/// Shows the wait cursor while it lives: for target and file access that may take its time.
class WaitCursor {
public:
    WaitCursor();
    ~WaitCursor();
    Q_DISABLE_COPY_MOVE(WaitCursor)
};

/// Shows the usual cursor while it lives, for a message box that opens amid such an access.
class UsualCursor {
public:
    UsualCursor();
    ~UsualCursor();
    Q_DISABLE_COPY_MOVE(UsualCursor)

private:
    bool m_isShown;
};
