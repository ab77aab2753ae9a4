// The texts that a user types where an address, a size, a value or a number is wanted.

#include "addresshistory.h"
#include "cmemdialog.h"
#include "configstate.h"
#include "fuzzinput.h"
#include "fuzzqt.h"
#include "hexnumber.h"
#include "integervalidator.h"
#include "itemedit.h"
#include "memtypes.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace {

constexpr std::array kFields = {"pEditBoxAddr", "editBoxEndAddr", "pEditBoxSize", "pEditBoxGenVal"};

/// An independent definition of a hexadecimal number, to compare with.
std::optional<quint64> HexByQt(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(?:0[xX])?(?=[0-9A-Fa-f])0*([0-9A-Fa-f]{0,16})\\z"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    return match.captured(1).toULongLong(nullptr, 16); // 0 for no digit
}

void CheckAddressTexts(const QString &text)
{
    const std::optional<std::uint64_t> value = ParseHexNumber(text);
    const std::optional<quint64> expected = HexByQt(text);
    FuzzRequire(
        value.has_value() == expected.has_value() && value.value_or(0) == expected.value_or(0),
        "both readers agree on a hexadecimal number");
    QString normal = text;
    NormaliseAddressText(normal);
    FuzzRequire(ParseHexNumber(normal) == value, "the usual form has the same value");
    QString again = normal;
    NormaliseAddressText(again);
    FuzzRequire(again == normal, "the usual form is its own usual form");
    FuzzRequire(FillByte(text) == (value && *value <= 0xFFFF'FFFF ? *value & 0xFF : 0),
        "a fill value is the lowest byte of 32 bits");
}

void CheckDecimal(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("\\A[ \\t]*([+-]?[0-9]+)[ \\t]*\\z"));
    constexpr qint64 kMin = -1000;
    constexpr qint64 kMax = 0xFFFF'FFFF;
    const std::string utf8 = text.toStdString();
    const QRegularExpressionMatch match = form.match(QString::fromStdString(utf8));
    const qint64 value = match.hasMatch() ? match.captured(1).toLongLong() : 0; // 0 beyond 64 bits
    FuzzRequire(ReadNumber(utf8, kMin, kMax) == (value >= kMin && value <= kMax ? value : 0),
        "both readers agree on a decimal number");
    const IntegerValidator validator(kMin, kMax, nullptr);
    QString typed = text;
    int caret = static_cast<int>(text.size());
    if (validator.validate(typed, caret) == QValidator::Acceptable && !typed.isEmpty()
        && typed != QLatin1String("-")) {
        const qint64 accepted = ReadNumber(typed.toStdString(), kMin, kMax);
        FuzzRequire(accepted == typed.toLongLong(), "what the field accepts is what is read");
    }
    FuzzRequire(caret >= 0 && caret <= typed.size(), "the caret stays in the text");
}

void CheckName(const QString &text)
{
    std::array<char, 128> name{};
    SetName(&name, text.toStdString());
    const std::string kept(name.data(), strnlen(name.data(), name.size()));
    FuzzRequire(kept.size() < name.size() && kept.find('"') == std::string::npos
            && kept.find('\n') == std::string::npos,
        "a name fits its field and its line of the settings file");
    FuzzRequire(!QString::fromStdString(kept).contains(QChar::ReplacementCharacter)
            || text.contains(QChar::ReplacementCharacter),
        "no character is cut in two");
}

void CheckItemKey(const QString &text, std::uint8_t choice)
{
    const int bytesPerItem = 1 << choice % 3;
    const int position = choice / 3 % (2 * bytesPerItem);
    KnownItem item{.bytes = {0xEF, 0xCD, 0xAB, 0x89}, .status = {}, .length = bytesPerItem};
    if (choice % 2 != 0) // known in part
        item.status.back() = ByteStatus::ReadFailed;
    const auto edit = EditOfTypedKey(item, position, text.left(choice / 32 % 3), false);
    if (edit)
        FuzzRequire(edit->text.size() == 2 * bytesPerItem && edit->caret == position + 1
                && ParseHexNumber(edit->text).has_value(),
            "a typed digit replaces one digit");
}

/// Types into the fields of a dialog that is open all the time, as text after text comes.
class DialogUser {
public:
    void Reset(MemDialogMode mode)
    {
        for (QLineEdit *field : m_fields)
            field->clear();
        m_dialog.SetFileName({});
        m_dialog.SetMode(mode);
        m_mode = mode;
    }

    void Type(std::size_t which, const QString &text)
    {
        QLineEdit *const field = m_fields[which % m_fields.size()];
        if (!field->isEnabled())
            return;
        field->setText(text);
        emit field->textEdited(field->text());
        Check();
    }

private:
    void Check() const
    {
        if (!m_ok->isEnabled())
            return;
        const std::uint64_t start = m_dialog.GetStartAddress();
        const std::uint64_t size = m_dialog.GetSize();
        FuzzRequire(size >= 1 && size <= kAddressSpaceEnd && start <= kAddressSpaceEnd - size,
            "OK is for a range within the address space");
        FuzzRequire(m_dialog.GetEndAddress() == start + size - 1, "the three numbers agree");
        FuzzRequire(m_mode != MemDialogMode::Fill
                || HexByQt(m_dialog.GenericValue()).value_or(kAddressSpaceEnd) < kAddressSpaceEnd,
            "OK is for a value of 32 bits");
    }

    CMemDialog m_dialog;
    MemDialogMode m_mode = MemDialogMode::Fill;
    QPushButton *m_ok = m_dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok);
    std::array<QLineEdit *, kFields.size()> m_fields = [this] {
        std::array<QLineEdit *, kFields.size()> fields{};
        std::transform(kFields.begin(), kFields.end(), fields.begin(), [this](const char *name) {
            return m_dialog.findChild<QLineEdit *>(QLatin1String(name));
        });
        return fields;
    }();
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    FuzzStartQt();
    return 0;
}

/// The first byte chooses the dialog; then lines, each a byte that chooses the field and a text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static auto *const user = new DialogUser;
    FuzzInput input(data, size);
    user->Reset(input.Byte() % 2 == 0 ? MemDialogMode::Fill : MemDialogMode::Save);
    QStringList boxItems;
    const QStringList lines = QString::fromStdString(input.Rest()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const auto choice = static_cast<std::uint8_t>(line.isEmpty() ? 0 : line.front().unicode());
        const QString text = line.mid(1);
        CheckAddressTexts(text);
        CheckDecimal(text);
        CheckName(text);
        CheckItemKey(text, choice);
        user->Type(choice, text);
        QString normal = text;
        NormaliseAddressText(normal);
        boxItems = WithAddressBoxText(boxItems, normal);
        FuzzRequire(boxItems.size() <= kMaxAddressBoxItems && boxItems.front() == normal
                && boxItems.removeDuplicates() == 0,
            "the list of the address box is short, and no text stands in it twice");
    }
    const QStringList sound = SoundAddressBoxItems(lines);
    FuzzRequire(sound.size() <= kMaxAddressBoxItems && !sound.contains(QString())
            && QStringList(sound).removeDuplicates() == 0 && SoundAddressBoxItems(sound) == sound,
        "a list from outside is brought into order once");
    return 0;
}
