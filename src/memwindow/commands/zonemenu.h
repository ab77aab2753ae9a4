#pragma once

class QMenu;
class QString;
struct MemOwners;

/// Adds the "Memory &Zone" submenu to a menu, unless the host has no zones. The zone in use is
/// checked; while that is the default memory, the first one.
/// @return the submenu, or null
QMenu *ZONE_AddMenu(const MemOwners &owners, QMenu *menu);

/// Directs all reads and writes to a zone and reads the page from there. No byte is marked as
/// changed, since this is other memory. "Default" and "" are the target's default memory.
void ZONE_Set(const MemOwners &owners, const QString &name);
