#pragma once

/// The program's name: "Pelimo".
const char *APP_Name();
/// The version text, e.g. "V1.02b". Texts of this file live as long as the process.
const char *APP_Version();
/// The main window's title, which is also the caption of its boxes and dialogs.
const char *APP_WindowTitle();
/// Name and version.
const char *APP_ShortName();
/// The root key under which the emulated registry keeps per-user data.
const char *APP_StoreKey();
