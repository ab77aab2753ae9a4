#pragma once

#include <QObject>

class QSessionManager;
class QSocketNotifier;

/// Makes the process end in order, whatever ends it.
///
/// SIGTERM, SIGINT, SIGHUP, the end of the desktop session and a lost display close the main window
/// as its user does: what was typed is written, settings are saved, the probe is closed. A second
/// signal ends the process at once. A signal that is ignored at the start (nohup) stays so.
///
/// Made after the application object and before the main window; one for the process. GUI thread.
class ProcessEnd : public QObject {
    Q_OBJECT

public:
    ProcessEnd();
    ~ProcessEnd() override;

    /// When a thread of ours is still inside the probe library: ends the process without running
    /// any destructors beside that thread. Otherwise returns: the process may end in the usual way.
    static void LeaveIfBusy(int status);

private slots:
    void OnSignal();
    void OnSessionEnds(QSessionManager &manager);

private:
    QSocketNotifier *m_notifier = nullptr;
};
