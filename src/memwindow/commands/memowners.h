#pragma once

class CursorControl;
class EditSession;
class MemActions;
class MemoryPage;
class MemToolBar;
class QWidget;
class RefreshChoice;
class TargetAccess;
class ViewSurface;

/// The owners of one memory window, for use by its commands. All outlive the commands.
struct MemOwners {
    QWidget &window; ///< parent of menus' actions and of dialogs
    TargetAccess &target;
    MemoryPage &page;
    ViewSurface &surface;
    CursorControl &cursor;
    EditSession &edit;
    MemActions &actions;
    MemToolBar &toolBar;
    RefreshChoice &refresh;
};
