#include "proberig.h"
#include "qemutarget.h"
#include "ranvoapi.h"

namespace {

/// The demo firmware in an emulator, reached through its debug stub.
class GdbRig : public ProbeRig {
public:
    QString Missing() override { return QemuTarget::Missing(); }
    bool Start() override { return m_target.Start(); }
    void Kill() override { m_target.Process().Kill(); }
    bool Freeze() override
    {
        m_target.Process().Freeze();
        return true;
    }
    void Thaw() override { m_target.Process().Thaw(); }
    void Select() override
    {
        RANVOARM_SelectIP(qPrintable(QString("127.0.0.1:%1").arg(m_target.Port())), 0);
    }
    bool TargetRuns() override { return m_target.RunState() == "running"; }
    Layout Map() const override
    {
        Layout layout;
        layout.quiet = 0x20009000;
        layout.holeBehind = 0x20030000 - 64;
        layout.holeInFront = 0x08000000 - 64;
        layout.unmapped = 0x30000000;
        layout.counter = 0x20000020;
        layout.big = 0x20010000;
        return layout;
    }

private:
    QemuTarget m_target;
};

} // namespace

std::unique_ptr<ProbeRig> MakeRig()
{
    return std::make_unique<GdbRig>();
}
