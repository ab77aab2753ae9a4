#include "openocdtarget.h"
#include "proberig.h"
#include "ranvoapi.h"

namespace {

/// The real OpenOCD on the software board, reached through its Tcl server.
class TclRig : public ProbeRig {
public:
    QString Missing() override { return OpenOcdTarget::Missing(); }
    bool Start() override { return m_target.Start(); }
    void Kill() override { m_target.Kill(); }
    bool Freeze() override
    {
        m_target.Server().Freeze();
        return true;
    }
    void Thaw() override { m_target.Server().Thaw(); }
    void Select() override
    {
        RANVOARM_SelectIP(qPrintable(QString("tcl:127.0.0.1:%1").arg(m_target.TclPort())), 0);
    }
    Layout Map() const override
    {
        Layout layout;
        layout.quiet = 0x20004000;
        layout.holeBehind = 0x2003FFC0;
        layout.holeInFront = 0x7FFF7FC0;
        layout.unmapped = 0x30000000;
        layout.counter = 0x20000020;
        layout.big = 0x20010000;
        return layout;
    }
    int Cycles() const override { return 100; }

private:
    OpenOcdTarget m_target;
};

} // namespace

std::unique_ptr<ProbeRig> MakeRig()
{
    return std::make_unique<TclRig>();
}
