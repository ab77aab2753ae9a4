#include "processtarget.h"
#include "ranvoapi.h"

namespace {

/// A process of this machine behind gdbserver, which answers while the process runs.
class GdbServerRig : public ProbeRig {
public:
    QString Missing() override
    {
        return PeerProcess::Find("gdbserver").isEmpty() ? "gdbserver is not installed" : QString();
    }
    bool Start() override
    {
        Kill();
        if (m_port == 0)
            m_port = PeerProcess::FreePort();
        return m_target.Start()
            && m_server.Start("gdbserver",
                {"--attach", QString("127.0.0.1:%1").arg(m_port), QString::number(m_target.Id())})
            && PeerProcess::AwaitListener(m_port);
    }
    void Kill() override
    {
        m_server.Kill();
        m_target.Kill();
    }
    bool Freeze() override
    {
        m_server.Freeze();
        return true;
    }
    void Thaw() override { m_server.Thaw(); }
    void Select() override
    {
        RANVOARM_SelectIP(qPrintable(QString("127.0.0.1:%1").arg(m_port)), 0);
    }
    bool TargetRuns() override { return m_target.Runs(); }
    bool StopsWhenAbandoned() const override { return true; }
    Layout Map() const override { return ProcessTarget::Map(); }

private:
    quint16 m_port = 0;
    ProcessTarget m_target;
    PeerProcess m_server;
};

} // namespace

std::unique_ptr<ProbeRig> MakeRig()
{
    return std::make_unique<GdbServerRig>();
}
