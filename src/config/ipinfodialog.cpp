#include "ipinfodialog.h"

#include <QDialog>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include <array>

namespace {

struct InfoLine {
    const char *caption; // null: the line belongs to the caption above
    const char *text;
};

constexpr const char *kIntroduction = "You may specify one of the following: ";
constexpr std::array kLines = {
    InfoLine{"Blank:", "Manually select from a list of available emulators."},
    InfoLine{"Name:", "Select by name. May also be a nickname assigned to emulator."},
    InfoLine{nullptr, "Example: Localhost, OfficeRanvo."},
    InfoLine{"Serial number:", "Select by serial number of emulator."},
    InfoLine{nullptr, "Example: 28100001"},
    InfoLine{"IP address:", "Select by numerical IP address."},
    InfoLine{nullptr, "Example: 192.168.2.3"},
};
/// Deliberate: created but never shown. It is for probes behind a tunnel, which are not offered.
constexpr const char *kTunnelText = "Please specify the serial number of the emulator you wish to "
                                    "connect via TCP/IP tunnel.";

} // namespace

void ShowIpInformation(QWidget *parent)
{
    auto *dialog = new QDialog(parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(QStringLiteral("pDialogIPInfo"));
    dialog->setWindowTitle(QStringLiteral("IP information"));
    auto *grid = new QGridLayout(dialog);
    grid->setSizeConstraint(QLayout::SetFixedSize);
    grid->addWidget(new QLabel(QString::fromLatin1(kIntroduction), dialog), 0, 0, 1, 2);
    int row = 1;
    for (const InfoLine &line : kLines) {
        if (line.caption != nullptr)
            grid->addWidget(new QLabel(QString::fromLatin1(line.caption), dialog), row, 0);
        grid->addWidget(new QLabel(QString::fromLatin1(line.text), dialog), row++, 1);
    }
    auto *tunnelLabel = new QLabel(QString::fromLatin1(kTunnelText), dialog);
    tunnelLabel->hide();
    auto *button = new QPushButton(QStringLiteral("&OK"), dialog);
    button->setObjectName(QStringLiteral("pPBtnIPInfoOK"));
    QObject::connect(button, &QPushButton::clicked, dialog, &QDialog::accept);
    grid->addWidget(button, row, 2);
    dialog->exec();
}
