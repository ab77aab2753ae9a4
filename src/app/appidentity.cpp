#include "appidentity.h"

#include "utilformat.h"
#include "utiltext.h"

#include <array>

namespace {

constexpr const char *kName = "Pelimo";
constexpr int kVersionMajor = 6;
constexpr int kVersionMinor = 54;
constexpr char kVersionLetter = 'a';

struct Identity {
    std::array<char, 16> version;
    std::array<char, 64> windowTitle;
    std::array<char, 64> shortName;
    std::array<char, 64> storeKey;
};

Identity ComposeIdentity()
{
    Identity identity{};
    char *const end = UTIL_Format(identity.version, "V%d.%.2d", kVersionMajor, kVersionMinor);
    // The letter is no number: it is appended where the formatted text ends.
    end[0] = kVersionLetter;
    end[1] = '\0';
    const char *const emptySuffix = "";
    UTIL_Format(
        identity.windowTitle, "TOLVEN %s %s%s", kName, identity.version.data(), emptySuffix);
    UTIL_Format(identity.shortName, "%s %s", kName, identity.version.data());
    UTIL_Format(identity.storeKey, "Software\\TOLVEN\\%s", kName);
    return identity;
}

const Identity &TheIdentity()
{
    static const Identity identity = ComposeIdentity();
    return identity;
}

} // namespace

const char *APP_Name()
{
    return kName;
}

const char *APP_Version()
{
    return TheIdentity().version.data();
}

const char *APP_WindowTitle()
{
    return TheIdentity().windowTitle.data();
}

const char *APP_ShortName()
{
    return TheIdentity().shortName.data();
}

const char *APP_StoreKey()
{
    return TheIdentity().storeKey.data();
}
