#include "cmemdialog.h"

#include "hexnumber.h"
#include "memfile.h"
#include "memtypes.h"
#include "modaldialog.h"
#include "rememberedfiles.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

#include <array>
#include <limits>

namespace {

struct ModeTexts {
    const char *title;
    const char *okText;
    const char *genericLabel;
};

// In the order of MemDialogMode. The labels' shortcut letters differ from those of the buttons.
constexpr std::array kModes = {
    ModeTexts{"Load Memory Data", "Load", "File:"},
    ModeTexts{"Save Memory Data", "Save", "File:"},
    ModeTexts{"Fill Memory", "Fill", "Fill Value:"},
};

constexpr int kFieldChars = 34; // room for a usual path

QString HexText(std::uint64_t value)
{
    return QStringLiteral("%1").arg(value, 8, 16, QLatin1Char('0')).toUpper();
}

std::uint64_t ValueOf(const QLineEdit *box)
{
    return ParseHexNumber(box->text()).value_or(0);
}

std::optional<std::uint32_t> ParseFillValue(const QString &text)
{
    const std::optional<std::uint64_t> value = ParseHexNumber(text);
    if (!value || *value > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    return static_cast<std::uint32_t>(*value);
}

} // namespace

std::uint8_t FillByte(const QString &text)
{
    return static_cast<std::uint8_t>(ParseFillValue(text).value_or(0));
}

CMemDialog::CMemDialog(QWidget *parent)
    : QDialog(parent)
    , m_genericLabel(new QLabel(this))
    , m_genericBox(new QLineEdit(this))
    , m_fileButton(new QPushButton(this))
    , m_startBox(new QLineEdit(this))
    , m_endBox(new QLineEdit(this))
    , m_sizeBox(new QLineEdit(this))
    , m_whyNotLabel(new QLabel(this))
    , m_buttonBox(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this))
{
    setObjectName(QStringLiteral("HexEditorMemDialog"));
    BuildFields();
    ConnectFields();
    SetMode(m_mode);
}

void CMemDialog::BuildFields()
{
    m_genericBox->setObjectName(QStringLiteral("pEditBoxGenVal"));
    m_startBox->setObjectName(QStringLiteral("pEditBoxAddr"));
    m_endBox->setObjectName(QStringLiteral("editBoxEndAddr"));
    m_sizeBox->setObjectName(QStringLiteral("pEditBoxSize"));
    m_fileButton->setObjectName(QStringLiteral("pButtonSelectFile"));
    m_buttonBox->setObjectName(QStringLiteral("buttonBox"));
    m_genericBox->setMinimumWidth(fontMetrics().averageCharWidth() * kFieldChars);
    m_fileButton->setText(QStringLiteral("..."));
    m_fileButton->setToolTip(QStringLiteral("Choose a file"));
    m_fileButton->setAccessibleName(QStringLiteral("Choose a file"));
    m_fileButton->setAutoDefault(false); // Return is for OK, also while the focus is here
    m_fileButton->setFixedWidth(m_fileButton->sizeHint().height() * 3 / 2);

    auto *grid = new QGridLayout;
    const auto addRow = [&](int row, QLabel *label, QLineEdit *box) {
        label->setBuddy(box);
        grid->addWidget(label, row, 0);
        grid->addWidget(box, row, 1);
    };
    addRow(0, m_genericLabel, m_genericBox);
    grid->addWidget(m_fileButton, 0, 2);
    addRow(1, new QLabel(QStringLiteral("Start Address:"), this), m_startBox);
    addRow(2, new QLabel(QStringLiteral("End Address:"), this), m_endBox);
    addRow(3, new QLabel(QStringLiteral("Size:"), this), m_sizeBox);
    grid->setColumnStretch(1, 1);
    m_whyNotLabel->setObjectName(QStringLiteral("pLabelWhyNot"));
    m_whyNotLabel->setWordWrap(true);
    m_whyNotLabel->setMinimumHeight(m_whyNotLabel->fontMetrics().height()); // it comes and goes

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addWidget(m_whyNotLabel);
    layout->addStretch();
    layout->addWidget(m_buttonBox);

    setTabOrder(m_genericBox, m_fileButton);
    setTabOrder(m_fileButton, m_startBox);
    setTabOrder(m_startBox, m_endBox);
    setTabOrder(m_endBox, m_sizeBox);
    setTabOrder(m_sizeBox, m_buttonBox);
}

void CMemDialog::ConnectFields()
{
    connect(m_buttonBox, &QDialogButtonBox::accepted, this, &CMemDialog::OnButtonLoadSaveClicked);
    connect(m_buttonBox, &QDialogButtonBox::rejected, this, &CMemDialog::OnButtonCancelClicked);
    connect(m_fileButton, &QPushButton::clicked, this, &CMemDialog::OnButtonSelectFileClicked);
    // textEdited: texts that the program itself sets must not start another round of corrections.
    connect(
        m_genericBox, &QLineEdit::textEdited, this, &CMemDialog::OnEditboxGenericValTextChanged);
    connect(m_startBox, &QLineEdit::textEdited, this, &CMemDialog::OnEditboxStartAddrTextChanged);
    connect(m_endBox, &QLineEdit::textEdited, this, &CMemDialog::OnEditboxEndAddrTextChanged);
    connect(m_sizeBox, &QLineEdit::textEdited, this, &CMemDialog::OnEditboxNumBytesTextChanged);
}

void CMemDialog::SetMode(MemDialogMode mode)
{
    m_mode = mode;
    const ModeTexts &texts = kModes[static_cast<std::size_t>(mode)];
    setWindowTitle(QLatin1String(texts.title));
    m_buttonBox->button(QDialogButtonBox::Ok)->setText(QLatin1String(texts.okText));
    m_genericLabel->setText(QLatin1String(texts.genericLabel));
    m_fileButton->setVisible(mode != MemDialogMode::Fill);
    m_endBox->setEnabled(mode != MemDialogMode::Load);
    m_sizeBox->setEnabled(mode != MemDialogMode::Load);
    RefreshEnabledState();
}

void CMemDialog::SetStartAddress(std::uint64_t address)
{
    m_startBox->setText(HexText(address));
    ShowEndOfRange(QString());
    RefreshEnabledState();
}

void CMemDialog::SetSize(std::uint64_t bytes)
{
    m_sizeBox->setText(HexText(bytes));
    ShowEndOfRange(QString());
    RefreshEnabledState();
}

void CMemDialog::SetFileName(const QString &fileName)
{
    m_genericValue = fileName;
    m_genericBox->setText(fileName);
    TakeSizeFromFile();
    RefreshEnabledState();
}

std::uint64_t CMemDialog::GetStartAddress() const
{
    return ValueOf(m_startBox);
}

std::uint64_t CMemDialog::GetEndAddress() const
{
    return ValueOf(m_endBox);
}

std::uint64_t CMemDialog::GetSize() const
{
    return ValueOf(m_sizeBox);
}

void CMemDialog::OnButtonLoadSaveClicked()
{
    const QPointer<CMemDialog> self = this; // the window may go while the question is open
    if (m_mode != MemDialogMode::Save || MayReplaceFile()) {
        if (self)
            accept();
    }
}

/// Asks as the file chooser does, when the name was typed. @return false also when the dialog is
/// gone
bool CMemDialog::MayReplaceFile()
{
    const QFileInfo file(FilePath());
    if (!file.exists() || file.filePath() == m_chosenFile)
        return true;
    const QPointer<QMessageBox> question = new QMessageBox(QMessageBox::Warning, windowTitle(),
        QStringLiteral("\"%1\" already exists.\nDo you want to replace it?").arg(file.fileName()),
        QMessageBox::Yes | QMessageBox::No, this);
    question->setTextFormat(Qt::PlainText);
    question->setDefaultButton(QMessageBox::No);
    const int answer = question->exec();
    delete question;
    return answer == QMessageBox::Yes;
}

void CMemDialog::OnButtonCancelClicked()
{
    reject();
}

void CMemDialog::OnButtonSelectFileClicked()
{
    const bool isLoad = m_mode == MemDialogMode::Load;
    const RememberedFile which = isLoad ? RememberedFile::Open : RememberedFile::Save;
    const QPointer<QFileDialog> chooser = new QFileDialog(this,
        isLoad ? QStringLiteral("Load Memory Data from...")
               : QStringLiteral("Save Memory Data to..."),
        QString(), QStringLiteral("Binary File (*.bin)"));
    chooser->setAcceptMode(isLoad ? QFileDialog::AcceptOpen : QFileDialog::AcceptSave);
    chooser->setFileMode(isLoad ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    const QFileInfo start(MEMFILE_Remembered(which));
    chooser->setDirectory(start.path());
    chooser->selectFile(start.fileName());
    const DialogEnd end = RunDialog(chooser);
    if (end == DialogEnd::Gone)
        return;
    const QStringList names = chooser->selectedFiles();
    delete chooser;
    if (end == DialogEnd::Accepted && !names.isEmpty()) {
        MEMFILE_Remember(which, names.first());
        m_chosenFile = names.first();
        SetFileName(names.first());
    }
    activateWindow();
    m_genericBox->setFocus();
}

QString CMemDialog::FilePath() const
{
    return MEMFILE_Path(m_genericValue);
}

void CMemDialog::OnEditboxGenericValTextChanged(const QString &text)
{
    m_genericValue = text;
    TakeSizeFromFile(); // the size cannot be typed when loading
    RefreshEnabledState();
}

void CMemDialog::OnEditboxStartAddrTextChanged(const QString &)
{
    ShowEndOfRange(QString());
    RefreshEnabledState();
}

void CMemDialog::OnEditboxEndAddrTextChanged(const QString &)
{
    const std::uint64_t start = GetStartAddress();
    const std::uint64_t end = GetEndAddress();
    m_sizeBox->setText(start <= end ? HexText(end + 1 - start) : QString());
    RefreshEnabledState();
}

void CMemDialog::OnEditboxNumBytesTextChanged(const QString &)
{
    // Deliberate: a typed size of 0 shows the start as the end, where a typed start with a size of
    // 0 leaves the end empty.
    ShowEndOfRange(HexText(GetStartAddress()));
    RefreshEnabledState();
}

void CMemDialog::TakeSizeFromFile()
{
    if (m_mode != MemDialogMode::Load)
        return;
    m_sizeBox->setText(HexText(MEMFILE_Size(FilePath()).value_or(0)));
    ShowEndOfRange(QString());
}

/// Derives the end address from start and size.
void CMemDialog::ShowEndOfRange(const QString &endOfEmptyRange)
{
    const std::uint64_t start = GetStartAddress();
    const std::uint64_t size = GetSize();
    if (size == 0)
        m_endBox->setText(endOfEmptyRange);
    else if (size - 1 > std::numeric_limits<std::uint64_t>::max() - start)
        m_endBox->clear();
    else
        m_endBox->setText(HexText(start + size - 1));
}

void CMemDialog::RefreshEnabledState()
{
    const QString whyNot = WhyNot();
    m_whyNotLabel->setText(whyNot);
    m_buttonBox->button(QDialogButtonBox::Ok)->setEnabled(whyNot.isEmpty());
}

QString CMemDialog::WhyNot() const
{
    const QString value = WhyNotThisValue();
    return value.isEmpty() ? WhyNotThisRange() : value;
}

QString CMemDialog::WhyNotThisRange() const
{
    const std::optional<std::uint64_t> start = ParseHexNumber(m_startBox->text());
    const std::optional<std::uint64_t> size = ParseHexNumber(m_sizeBox->text());
    if (!start)
        return QStringLiteral("The start address is no hexadecimal number.");
    if (m_mode == MemDialogMode::Load && size && *size == 0)
        return QStringLiteral("The file is empty.");
    if (!size || *size == 0)
        return QStringLiteral("The size is no hexadecimal number above 0.");
    if (*size > kAddressSpaceEnd || *start > kAddressSpaceEnd - *size)
        return QStringLiteral("The range ends behind the last address, FFFFFFFF.");
    return {};
}

QString CMemDialog::WhyNotThisValue() const
{
    switch (m_mode) {
    case MemDialogMode::Load:
        return MEMFILE_WhyNotRead(FilePath());
    case MemDialogMode::Save:
        return MEMFILE_WhyNotWritten(FilePath());
    default:
        return ParseFillValue(m_genericValue)
            ? QString()
            : QStringLiteral("Enter the value as a hexadecimal number.");
    }
}
