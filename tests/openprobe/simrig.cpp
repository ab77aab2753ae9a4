#include "proberig.h"
#include "ranvoapi.h"

namespace {

/// The simulated target. A restart makes the library plug in a new one; a kill uses the fixture
/// that unplugs the probe at the next read.
class SimRig : public ProbeRig {
public:
    bool Start() override { return true; }
    void Kill() override
    {
        const quint32 one = 1;
        RANVOARM_WriteMemEx(0x50004000, 4, &one, 4);
    }
    void Select() override { RANVOARM_SelectUSB(0); }
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
    int Cycles() const override { return 600; }
};

} // namespace

std::unique_ptr<ProbeRig> MakeRig()
{
    return std::make_unique<SimRig>();
}
