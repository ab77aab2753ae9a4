#include "settingsmessages.h"

#include "utilformat.h"

namespace {

using Result = SysFileResult;

const char *LoadFormat(Result result)
{
    switch (result) {
    case Result::Ok:
        return "";
    case Result::SharingViolation:
        return "Could not open file [%s]\nSharing violation!";
    case Result::ReadOnly: // never the outcome of a load
    case Result::AccessDenied:
        return "Could not open file [%s]\nAccess is denied!";
    case Result::BadName:
        return "Could not open file [%s]\nFilename syntax is incorrect!";
    case Result::InvalidDrive:
        return "Could not open file [%s]\nInvalid drive!";
    case Result::FileNotFound:
        return "Could not open file [%s]\nFile not found!";
    case Result::PathNotFound:
        return "Could not open file [%s]\nPath not found!";
    case Result::InvalidFile:
        return "Could not open file [%s]\nInvalid file handle!";
    case Result::TransferFailed:
        return "Could not open file [%s]\nFailed to read data!";
    }
    return "";
}

const char *SaveFormat(Result result)
{
    switch (result) {
    case Result::Ok:
        return "";
    case Result::SharingViolation: // deliberate: "open" here too; users know this text
        return "Could not open file [%s]\nSharing violation!";
    case Result::AccessDenied:
        return "Could not save file [%s]\nAccess is denied!";
    case Result::ReadOnly:
        return "Could not save file [%s]\nFile has read only attribute!";
    case Result::BadName:
        return "Could not save file [%s]\nFilename syntax is incorrect!";
    case Result::InvalidDrive:
        return "Could not save file [%s]\nInvalid drive!";
    case Result::FileNotFound:
        return "Could not save file [%s]\nFile not found!";
    case Result::PathNotFound:
        return "Could not save file [%s]\nPath not found!";
    case Result::InvalidFile:
        return "Could not save file [%s]\nInvalid file handle!";
    case Result::TransferFailed:
        return "Could not save file [%s]\nFailed to write data!";
    }
    return "";
}

} // namespace

SettingsMessage SETTINGS_LoadMessage(SysFileResult result, const char *path)
{
    SettingsMessage message;
    UTIL_Format(message, LoadFormat(result), path);
    return message;
}

SettingsMessage SETTINGS_SaveMessage(SysFileResult result, const char *path)
{
    SettingsMessage message;
    UTIL_Format(message, SaveFormat(result), path);
    return message;
}
