#include "fuzzinput.h"
#include "settingsimage.h"
#include "settingsvalue.h"

#include <array>
#include <memory>
#include <optional>
#include <vector>

namespace {

constexpr std::array kSections = {"TIF", "GENERAL"};
constexpr std::array kKeys = {"Speed", "SpeedMax", "K"};
constexpr std::array kForms = {SettingsKeyForm::Plain, SettingsKeyForm::Array};

struct Place {
    const char *section;
    const char *key;
    SettingsKeyForm form;
    bool operator==(const Place &) const = default;
};

std::vector<Place> AllPlaces()
{
    std::vector<Place> places;
    for (const char *section : kSections) {
        for (const char *key : kKeys) {
            for (const SettingsKeyForm form : kForms)
                places.push_back({section, key, form});
        }
    }
    return places;
}

std::optional<std::string> Find(const SettingsImage &image, const Place &place)
{
    const auto line = image.FindKey(place.section, place.key, place.form);
    return line ? std::optional<std::string>(*line) : std::nullopt;
}

/// Every reader on the value; outputs of their exact size.
void ReadAllKinds(const std::string &line, const Place &place)
{
    const auto bytes = std::make_unique<std::uint8_t[]>(5);
    const auto words = std::make_unique<std::uint32_t[]>(3);
    const auto text = std::make_unique<char[]>(9);
    std::array<std::int32_t, 4> four{};
    std::uint32_t count = 0;
    for (int kind = 0; kind < 6; ++kind) {
        SettingsValue value(line, place.key, place.form);
        double real = 0;
        switch (kind) {
        case 0:
            SETTINGS_ParseBytes(value, {bytes.get(), 5}, count);
            break;
        case 1:
            SETTINGS_ParseWords(value, {words.get(), 3}, count);
            break;
        case 2:
            SETTINGS_ParseFourInts(value, four);
            break;
        case 3:
            SETTINGS_ParseHexBytes(value, {bytes.get(), 5}, count);
            break;
        case 4:
            UTIL_ReadQuotedLenient(value.error, value.cursor, {text.get(), 9});
            break;
        default:
            UTIL_ReadReal(value.error, value.cursor, real);
        }
    }
    FuzzRequire(count <= 5, "no more elements than there is room for");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const std::vector<Place> places = AllPlaces();
    FuzzInput input(data, size);
    const Place &changed = places[input.Byte() % places.size()];
    const std::string line
        = std::string(changed.key) + (changed.form == SettingsKeyForm::Array ? "[1] = 7" : " = 7");
    const auto image = std::make_unique<SettingsImage>();
    std::string text = input.Rest();
    if (text.starts_with('L') && text.size() < 5000) // a long one, around the image's end
        text.insert(0,
            std::string(SettingsImage::kCapacity - text.size() - 16 + text.size() % 32, '#')
                + "\r\n");
    if (!image->Assign(text))
        return 0;

    std::vector<std::optional<std::string>> before;
    for (const Place &place : places) {
        before.push_back(Find(*image, place));
        if (before.back())
            ReadAllKinds(*before.back(), place);
    }
    if (!image->ReplaceKey(changed.section, changed.key, changed.form, line + "\r\n")) {
        FuzzRequire(image->Text() == text, "a refused change leaves everything");
        return 0;
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
        const auto expected = places[i] == changed ? line : before[i];
        FuzzRequire(Find(*image, places[i]) == expected, "the one key is new, the others stay");
    }
    const std::string written(image->Text());
    FuzzRequire(image->ReplaceKey(changed.section, changed.key, changed.form, line + "\r\n")
            && image->Text() == written,
        "writing the same again changes nothing");
    image->RemoveKey(changed.section, changed.key, changed.form);
    for (std::size_t i = 0; i < places.size(); ++i)
        FuzzRequire(places[i] == changed || Find(*image, places[i]) == before[i],
            "removing leaves the other keys");
    return 0;
}
