#pragma once

#include <QDialog>
#include <QString>

#include <cstdint>
#include <optional>

class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QPushButton;

/// What a CMemDialog asks for.
enum class MemDialogMode : int { Load = 0, Save = 1, Fill = 2 };

/// The dialog that asks for a file or a value, and for a range of target memory.
///
/// The three numbers are hexadecimal; a text that is no such number counts as 0. Typing into one of
/// them adjusts the others. OK is enabled only for a range that is not empty and ends within the
/// 32-bit space, with a file that can be read or written or a valid value; otherwise the dialog
/// says what is missing. An existing file is replaced only after the user has agreed.
class CMemDialog : public QDialog {
    Q_OBJECT

public:
    explicit CMemDialog(QWidget *parent = nullptr);

    void SetMode(MemDialogMode mode);
    void SetStartAddress(std::uint64_t address);
    void SetSize(std::uint64_t bytes);
    /// Shows the name; when loading, the size becomes the file's.
    void SetFileName(const QString &fileName);

    [[nodiscard]] std::uint64_t GetStartAddress() const;
    [[nodiscard]] std::uint64_t GetEndAddress() const;
    [[nodiscard]] std::uint64_t GetSize() const;
    /// The file name, or when filling the text of the value.
    [[nodiscard]] QString GenericValue() const { return m_genericValue; }
    /// The file that the name stands for; "~" at its start is the home directory.
    [[nodiscard]] QString FilePath() const;

public slots:
    void OnButtonLoadSaveClicked();
    void OnButtonCancelClicked();
    void OnButtonSelectFileClicked();
    void OnEditboxGenericValTextChanged(const QString &text);
    void OnEditboxStartAddrTextChanged(const QString &text);
    void OnEditboxEndAddrTextChanged(const QString &text);
    void OnEditboxNumBytesTextChanged(const QString &text);

private:
    void BuildFields();
    void ConnectFields();
    void TakeSizeFromFile();
    void ShowEndOfRange(const QString &endOfEmptyRange);
    void RefreshEnabledState();
    [[nodiscard]] QString WhyNot() const;
    [[nodiscard]] QString WhyNotThisRange() const;
    [[nodiscard]] QString WhyNotThisValue() const;
    [[nodiscard]] bool MayReplaceFile();

    MemDialogMode m_mode = MemDialogMode::Load;
    QString m_genericValue;
    QString m_chosenFile; // the file chooser has already asked whether to replace it
    QLabel *m_genericLabel;
    QLineEdit *m_genericBox;
    QPushButton *m_fileButton;
    QLineEdit *m_startBox;
    QLineEdit *m_endBox;
    QLineEdit *m_sizeBox;
    QLabel *m_whyNotLabel;
    QDialogButtonBox *m_buttonBox;
};

/// The byte that a fill value's text stands for: the lowest of its 32 bits, 0 when it is no number.
[[nodiscard]] std::uint8_t FillByte(const QString &text);
