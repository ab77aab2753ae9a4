#pragma once

#include "peerprocess.h"
#include "proberig.h"

/// The process that the process rigs look into.
class ProcessTarget {
public:
    /// Starts it, or a copy of the program, afresh and waits until its counter runs.
    bool Start(const QString &copy = {});
    void Kill() { m_process.Kill(); }
    qint64 Id() const { return m_process.Id(); }
    /// Whether it runs, neither traced to a stop nor stopped.
    bool Runs() const;
    static ProbeRig::Layout Map();

private:
    quint32 Counter() const;

    PeerProcess m_process;
};
