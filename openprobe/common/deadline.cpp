#include "deadline.h"

#include <atomic>
#include <charconv>
#include <cstdlib>
#include <string_view>

namespace OpenProbe {
namespace {

constexpr int kMaxPatience = 60;

std::atomic<int> s_patience = 1;

int PatienceFromEnvironment()
{
    const char *const variable = secure_getenv(kPatienceVariable);
    const std::string_view text = variable != nullptr ? variable : "";
    int value = 1;
    const auto [stop, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool valid = failure == std::errc{} && stop == text.data() + text.size();
    return valid && value >= 1 && value <= kMaxPatience ? value : 1;
}

} // namespace

void RefreshPatience()
{
    s_patience = PatienceFromEnvironment();
}

int Patience()
{
    return s_patience;
}

} // namespace OpenProbe
