#pragma once

#include "appstate.h"

#include <QMainWindow>
#include <QPointer>

#include <array>

class CHexEditor;
class CustMDIArea;
class QAction;
class QLabel;
class QMdiSubWindow;

/// The one main window: menus, status bar, message boxes and the area that holds the memory window.
///
/// It never talks to the probe itself: it posts jobs to the worker, which writes its results into
/// the shared state and emits one of the four signals, delivered queued on the GUI thread.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// Shows itself and runs the first configuration dialog before it returns.
    MainWindow();
    ~MainWindow() override;

    /// Ends the work on target and settings without touching the display, which is gone: writes
    /// what was typed, saves the settings, closes the probe. The window cannot be used afterwards.
    void EndWithoutDisplay();

    /// Closes the memory window, if there is one, after it has written what was typed last.
    void RemoveMemoryWindow();

signals:
    void Signal_UpdateGUI();
    void Signal_UpdateMemWindow();
    void Signal_UpdateShowError();
    void Signal_UpdateShowWarning();

public slots:
    void _Slot_OnGUIUpdate();
    void _Slot_OnMemWindowUpdate();
    void _Slot_OnShowError();
    void _Slot_OnShowWarning();
    void _OnActionAbout();
    void _OnActionGeneral();
    void _OnActionExit();
    void _OnActionConnect();
    void _OnActionDisconnect();
    void _OnHoverAction();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool event(QEvent *event) override;

private:
    void BuildMenus();
    void BuildStatusBar();
    void ConnectSignals();
    void PlaceOnScreen();
    void UpdateGui();
    void CreateMemoryWindow();
    void RunConfiguration();
    void ShowReports();
    /// @return whether the user has seen it
    bool ShowReport(const Report &report);

    CustMDIArea *m_area = nullptr;
    QPointer<QMdiSubWindow> m_subWindow;
    QPointer<CHexEditor> m_hexEditor;
    QAction *m_actionConnect = nullptr;
    QAction *m_actionDisconnect = nullptr;
    std::array<QLabel *, kStatusFields> m_labels{};
    bool m_showingReports = false;
};
