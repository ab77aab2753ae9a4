#pragma once

#include "faulthooks.h"

#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class CHexEditor;
class ConfigDialog;
class QAction;
class MainWindow;

/// The real main window over the fault probe: answers its dialogs and boxes, records what it shows.
///
/// One at a time. The settings file and the hooks are fresh for each.
class AppHarness {
public:
    enum class FirstDialog { Accept, Reject };

    /// @param settings  the settings file's lines, each without its line end
    explicit AppHarness(const QStringList &settings = {}, FirstDialog answer = FirstDialog::Accept);
    /// Closes the window, lets blocked calls go and waits for the worker's end.
    ~AppHarness();

    /// How the connection dialogs from now on are answered.
    void AnswerDialogs(FirstDialog answer) { m_firstDialog = answer; }
    /// Done in the next connection dialog before it is answered; once.
    void EditDialog(std::function<void(ConfigDialog &)> edit) { m_edit = std::move(edit); }
    /// The bytes of the settings file; empty when there is none.
    static QByteArray SettingsFile();

    /// Constructs the window, which answers its first dialog. Set hooks before.
    void Start();
    MainWindow &Window() { return *m_window; }
    /// Null while there is no memory window.
    CHexEditor *MemoryWindow() const;
    QString StatusText(unsigned field) const;
    QAction *Action(const QString &text) const;
    /// Types a byte over in the memory window and lets it be written at once.
    /// @param address  where a row of the window begins
    void TypeOver(std::uint32_t address, std::uint8_t value);
    /// Destroys the window early, as the end of main() does.
    void DestroyWindow();

    /// Boxes as "title|text", in the order they were shown.
    const QStringList &Boxes() const { return m_boxes; }
    /// The texts alone.
    QStringList BoxTexts() const;
    /// The texts alone; they count as not shown from now on.
    QStringList TakeBoxTexts();
    /// While false, boxes stay open until it is set again.
    void AnswerBoxes(bool answer) { m_answerBoxes = answer; }
    /// How many message boxes are visible at this moment.
    static int VisibleBoxes();

    FaultHooks &Hooks() { return *FAULT_Hooks(); }
    /// Names of the library calls since the last look, without the prefix, polling calls left out.
    QStringList TakeCalls();

private:
    void Answer();

    FirstDialog m_firstDialog;
    std::function<void(ConfigDialog &)> m_edit;
    std::unique_ptr<MainWindow> m_window;
    QTimer m_answerTimer;
    QStringList m_boxes;
    bool m_answerBoxes = true;
};
