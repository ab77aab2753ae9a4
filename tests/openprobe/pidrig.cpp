#include "processtarget.h"
#include "ranvoapi.h"

namespace {

/// A process of this machine, looked into directly.
class PidRig : public ProbeRig {
public:
    bool Start() override { return m_target.Start(); }
    void Kill() override { m_target.Kill(); }
    void Select() override
    {
        RANVOARM_SelectIP(qPrintable(QString("pid:%1").arg(m_target.Id())), 0);
    }
    bool TargetRuns() override { return m_target.Runs(); }
    Layout Map() const override { return ProcessTarget::Map(); }
    int Cycles() const override { return 2000; }

private:
    ProcessTarget m_target;
};

} // namespace

std::unique_ptr<ProbeRig> MakeRig()
{
    return std::make_unique<PidRig>();
}
