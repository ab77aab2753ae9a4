#include "jtagtap.h"

namespace {

constexpr std::uint32_t kIdCodeValue = 0x4BA00477; // an Arm JTAG debug port
constexpr unsigned kInstructionBits = 4;
constexpr unsigned kAccessBits = 35;

} // namespace

void JtagTap::SetPins(bool clock, bool mode, bool dataIn)
{
    if (clock && !m_clock)
        RisingEdge(mode, dataIn);
    m_clock = clock;
}

void JtagTap::Reset()
{
    Enter(TestLogicReset);
}

void JtagTap::RisingEdge(bool mode, bool dataIn)
{
    static constexpr State kNext[16][2] = {
        {RunTestIdle, TestLogicReset}, // TestLogicReset
        {RunTestIdle, SelectDr},       // RunTestIdle
        {CaptureDr, SelectIr},         // SelectDr
        {ShiftDr, Exit1Dr},            // CaptureDr
        {ShiftDr, Exit1Dr},            // ShiftDr
        {PauseDr, UpdateDr},           // Exit1Dr
        {PauseDr, Exit2Dr},            // PauseDr
        {ShiftDr, UpdateDr},           // Exit2Dr
        {RunTestIdle, SelectDr},       // UpdateDr
        {CaptureIr, TestLogicReset},   // SelectIr
        {ShiftIr, Exit1Ir},            // CaptureIr
        {ShiftIr, Exit1Ir},            // ShiftIr
        {PauseIr, UpdateIr},           // Exit1Ir
        {PauseIr, Exit2Ir},            // PauseIr
        {ShiftIr, UpdateIr},           // Exit2Ir
        {RunTestIdle, SelectDr},       // UpdateIr
    };
    if (m_state == ShiftDr || m_state == ShiftIr)
        m_shift = m_shift >> 1 | std::uint64_t{dataIn} << (m_bits - 1);
    Enter(kNext[m_state][mode ? 1 : 0]);
}

void JtagTap::Enter(State state)
{
    m_state = state;
    switch (state) {
    case TestLogicReset:
        m_instruction = kIdCode;
        break;
    case CaptureIr:
        m_bits = kInstructionBits;
        m_shift = 1; // the two lowest bits are fixed
        break;
    case UpdateIr:
        m_instruction = static_cast<unsigned>(m_shift);
        break;
    case CaptureDr:
        CaptureData();
        break;
    case UpdateDr:
        if (m_bits == kAccessBits)
            m_handlers.update(m_instruction, m_shift);
        break;
    default:
        break;
    }
}

void JtagTap::CaptureData()
{
    switch (m_instruction) {
    case kIdCode:
        m_bits = 32;
        m_shift = kIdCodeValue;
        break;
    case kAbort:
    case kDebugPort:
    case kAccessPort:
        m_bits = kAccessBits;
        m_shift = m_handlers.capture(m_instruction);
        break;
    default:
        m_bits = 1; // bypass
        m_shift = 0;
        break;
    }
}
