#include "fuzzhome.h"
#include "fuzzinput.h"
#include "sysregistry.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::array kNames = {"Speed", "Text", "List", "Data"};

const fs::path &RegistryFile()
{
    static const fs::path file = [] {
        fs::create_directories(FuzzHome() / ".config/TOLVEN");
        return FuzzHome() / ".config/TOLVEN/TOLVEN_REG_HKEY_CURRENT_USER.xml";
    }();
    return file;
}

std::string Content()
{
    std::ifstream file(RegistryFile(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::optional<std::vector<std::uint8_t>> Query(SYS_REG_KEY key, const char *name)
{
    std::vector<std::uint8_t> value(5000);
    std::uint32_t size = 5000;
    std::uint32_t type = 0;
    if (SYS_RegQueryValue(key, name, &type, value.data(), &size) != SYS_REG_OK)
        return std::nullopt;
    value.resize(size);
    return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const char *const name = kNames[input.Byte() % kNames.size()];
    const std::string text = input.Text(input.Byte() % 32);
    const std::string file = input.Rest();
    std::ofstream(RegistryFile(), std::ios::binary) << file;
    SYS_RegRelease();

    std::array<std::optional<std::vector<std::uint8_t>>, kNames.size()> before;
    for (std::size_t i = 0; i < kNames.size(); ++i)
        before.at(i) = Query(SYS_REG_CURRENT_USER, kNames.at(i));
    FuzzRequire(file.empty() || Content() == file, "reading changes nothing");

    if (SYS_RegSetValue(SYS_REG_CURRENT_USER, name, SYS_REG_TYPE_SZ, text.data(),
            static_cast<std::uint32_t>(text.size()))
        != SYS_REG_OK) {
        FuzzRequire(Content() == file, "a refused change leaves the file");
        return 0;
    }
    SYS_RegRelease();
    std::vector<std::uint8_t> expected(
        text.c_str(), text.c_str() + std::string(text.c_str()).size() + 1);
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        const auto value = Query(SYS_REG_CURRENT_USER, kNames.at(i));
        FuzzRequire(value == (kNames.at(i) == name ? expected : before.at(i)),
            "the one value is new, the others stay");
    }
    return 0;
}
