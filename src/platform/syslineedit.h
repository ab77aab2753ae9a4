#pragma once

/// The two functions of the optional line-editing library.
struct SysLineEdit {
    /// Shows the prompt and reads a line, which the caller frees; null at the end of input.
    char *(*ReadLine)(const char *prompt);
    int (*AddHistory)(const char *line);
};

/// Loads the line-editing library at the first call.
/// @return its functions, or null where it is not installed: line editing is not offered then.
///         Any thread
[[nodiscard]] const SysLineEdit *SYS_LineEdit();
