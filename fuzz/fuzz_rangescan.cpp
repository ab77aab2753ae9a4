// Memory with any pattern of holes behind a link that may be lost at any request, read as a range.

#include "backend.h"
#include "fuzzinput.h"
#include "rangescan.h"

#include <algorithm>
#include <array>
#include <string>

using namespace OpenProbe;

namespace {

constexpr std::uint32_t kStart = 0xFFFFFC00; // the scan must not run over the end of the space
constexpr std::size_t kMost = 1024;

/// Each bit of a text is one byte of memory that answers or not.
class HolesReader final : public PieceReader {
public:
    HolesReader(std::string holes, std::size_t count, std::uint32_t maxPiece, unsigned requests)
        : m_holes(std::move(holes))
        , m_count(count)
        , m_maxPiece(maxPiece)
        , m_requestsLeft(requests)
    {
    }

    PieceResult Read(std::uint32_t address, std::span<std::uint8_t> piece) override
    {
        FuzzRequire(!piece.empty() && piece.size() <= m_maxPiece, "pieces are of the agreed size");
        FuzzRequire(address - kStart + piece.size() <= m_count, "pieces lie inside the range");
        FuzzRequire(!lost, "a lost link is asked nothing");
        if (m_requestsLeft-- == 0) {
            lost = true;
            return PieceResult::LinkLost;
        }
        for (std::size_t i = 0; i < piece.size(); ++i) {
            if (!Answers(address - kStart + i))
                return PieceResult::Unreadable;
        }
        std::ranges::fill(piece, std::uint8_t{0xA5});
        return PieceResult::Read;
    }

    [[nodiscard]] bool Answers(std::size_t at) const
    {
        return at / 8 < m_holes.size() && (m_holes[at / 8] >> at % 8 & 1) != 0;
    }

    bool lost = false;

private:
    std::string m_holes;
    std::size_t m_count;
    std::uint32_t m_maxPiece;
    unsigned m_requestsLeft;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const std::uint32_t maxPiece = 4U + input.Byte() % 64;
    const unsigned requests = input.Byte() % 128; // many scans need fewer, so most links live on
    const std::string holes = input.Rest();
    const std::size_t count = std::min(holes.size() * 8, kMost);
    HolesReader reader(holes, count, maxPiece, requests == 0 ? 100'000 : requests);
    std::array<std::uint8_t, kMost> bytes{};
    const int result = ReadRange(kStart, std::span(bytes).first(count), maxPiece, reader);

    std::size_t prefix = 0;
    while (prefix < count && reader.Answers(prefix))
        ++prefix;
    bool behind = false;
    for (std::size_t i = prefix; i < count; ++i)
        behind = behind || reader.Answers(i);
    FuzzRequire(!reader.lost || result == kTransferFailed, "a lost link is no hole");
    FuzzRequire(
        reader.lost || result == static_cast<int>(prefix) || (result == kTransferFailed && behind),
        "a prefix, or readable bytes behind a hole");
    FuzzRequire(reader.lost || count > 4 || (result == kTransferFailed) == behind,
        "a word's islands are all found");
    for (int i = 0; i < result; ++i)
        FuzzRequire(bytes[static_cast<std::size_t>(i)] == 0xA5, "the prefix holds what was read");
    return 0;
}
