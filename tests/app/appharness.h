#pragma once

#include "faulthooks.h"

#include <QtTest>
#include <QtWidgets>

#include <functional>
#include <memory>

class CHexEditor;
class ConfigDialog;
class MainWindow;
class QAction;

/// Fails the test unless the condition comes to hold while events are handled.
#define SOON(condition) QVERIFY2(AppHarness::Soon([&] { return condition; }), #condition)
#define SOON_COMPARE(actual, expected)                                                             \
    do {                                                                                           \
        (void)AppHarness::Soon([&] { return (actual) == (expected); });                            \
        QCOMPARE(actual, expected);                                                                \
    } while (false)

/// The real main window over the fault probe: answers its dialogs and boxes, records what it shows.
///
/// Only one exists at a time. Each starts with its own settings file and without hooks.
class AppHarness {
public:
    enum class DialogAnswer { Accept, Reject };

    /// @param settings  the settings file's lines with '|' between them; empty: there is no file
    explicit AppHarness(const QString &settings = {}, DialogAnswer answer = DialogAnswer::Accept);
    /// Closes the window, lets blocked calls go and waits for the worker's end.
    ~AppHarness();

    /// Answers the next connection dialog and all later ones like this.
    /// @param edit  called in the next dialog before the answer
    void AnswerDialog(DialogAnswer answer, std::function<void(ConfigDialog &)> edit = {});
    /// While false, boxes stay open until it is set again.
    void AnswerBoxes(bool answer) { m_answerBoxes = answer; }

    /// Constructs the window, which answers its first dialog. Set hooks before.
    void Start();
    /// Starts, and waits until the memory window is there.
    void StartConnected();
    /// Destroys the window early, as the end of main() does.
    void DestroyWindow();

    /// Handles events until the condition holds. @return whether it came to hold
    static bool Soon(const std::function<bool()> &condition);

    MainWindow &Window() { return *m_window; }
    /// Null while there is no memory window.
    CHexEditor *MemoryWindow() const;
    /// The fields of the status bar.
    QStringList StatusTexts() const;
    /// The action with that text, or null.
    QAction *Action(const QString &text) const;
    /// Triggers an entry of the main window's menus.
    void Trigger(const QString &text) const;
    /// Types a byte over in the memory window and lets it be written at once.
    /// @param address  where a row of the window begins
    void TypeOver(std::uint32_t address, std::uint8_t value);

    /// Boxes as "Error|text" or "Warning|text", in the order they were shown. One that was not
    /// wholly on its parent's screen says so in front.
    const QStringList &Boxes() const { return m_boxes; }
    /// Returns the same and forgets them.
    QStringList TakeBoxes();
    /// How many message boxes are visible at this moment.
    static int VisibleBoxes();

    FaultHooks &Hooks() { return *FAULT_Hooks(); }
    /// The library calls since the last look as "Name argument argument", with commas between them,
    /// without the calls that the program repeats by a timer.
    QString TakeCalls();
    /// The bytes of the settings file; empty when there is none.
    static QByteArray SettingsFile();

private:
    void Answer();

    DialogAnswer m_dialogAnswer;
    std::function<void(ConfigDialog &)> m_edit;
    std::unique_ptr<MainWindow> m_window;
    QTimer m_answerTimer;
    QStringList m_boxes;
    bool m_answerBoxes = true;
};
