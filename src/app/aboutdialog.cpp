#include "aboutdialog.h"

#include "modalstage.h"

#include "utilformat.h"

#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

#include <array>

namespace {

// Deliberate: the stamp is the release's, not this build's, and the time stands before the date, as
// the released program has always shown it.
constexpr const char *kBuildTime = "17:37:36";
constexpr const char *kBuildDate = "Oct 31 2019";
constexpr const char *kTitleText = "%s\nCompiled: %s %s\nwww.tolven.example";
constexpr const char *kLicenceText = "TOLVEN 2009 - 2019\n"
                                     "\n"
                                     "The GUI of this software uses Qt4 which is under LGPLv21\n"
                                     "Add. 3rd party licensing and source code of Qt4:\n"
                                     "www.tolven.example/licenses/qt4";
constexpr int kTextChars = 300;
constexpr qreal kLogoPixelRatio = 2; // the picture is stored at twice its size

QLabel *MakeTextLabel(const QString &text, const char *objectName, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(QString::fromLatin1(objectName));
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

AboutDialog::AboutDialog(const char *title)
    : m_btnOK(new QPushButton(QStringLiteral("&OK"), this))
{
    setObjectName(QStringLiteral("pAboutDialog"));
    setModal(true);
    setWindowTitle(QStringLiteral("About"));
    m_btnOK->setObjectName(QStringLiteral("pBtnOK"));
    connect(m_btnOK, &QPushButton::clicked, this, &AboutDialog::_Slot_OnBtnOK);
    connect(
        this, &AboutDialog::_Sig_CloseDlg, this, &AboutDialog::_Slot_OnBtnOK, Qt::QueuedConnection);
    auto *grid = new QGridLayout(this);
    grid->addWidget(MakeTitleArea(title), 0, 0);
    grid->addWidget(MakeTextLabel(QString::fromLatin1(kLicenceText), "pLabelLicence", this), 1, 0,
        Qt::AlignLeft);
    grid->addWidget(m_btnOK, 2, 0, Qt::AlignRight);
    SetWindowFlags();
    setFixedSize(minimumSizeHint());
    STAGE_Place(this);
    show();
}

QWidget *AboutDialog::MakeTitleArea(const char *title)
{
    std::array<char, kTextChars> text{};
    UTIL_Format(text, kTitleText, title, kBuildTime, kBuildDate);
    QPixmap logo(QStringLiteral(":/Resources/Icons/about.png"));
    logo.setDevicePixelRatio(kLogoPixelRatio);
    auto *area = new QWidget(this);
    auto *picture = new QLabel(area);
    picture->setObjectName(QStringLiteral("pLabelLogo"));
    picture->setPixmap(logo);
    auto *grid = new QGridLayout(area);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(picture, 0, 0, Qt::AlignTop);
    grid->addWidget(
        MakeTextLabel(QString::fromUtf8(text.data()), "pLabelTitle", area), 0, 1, Qt::AlignLeft);
    grid->setColumnStretch(1, 1);
    return area;
}

void AboutDialog::SetWindowFlags()
{
    setWindowFlags(windowFlags() & ~(Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    setWindowFlags(windowFlags() | Qt::WindowStaysOnTopHint);
}

void AboutDialog::_Slot_OnBtnOK()
{
    close();
}

/// The box has no frame of the window manager, so it draws its own edge.
void AboutDialog::paintEvent(QPaintEvent *event)
{
    QDialog::paintEvent(event);
    // Filled, since a pen's line falls outside on two sides at fractional scales.
    QPainter painter(this);
    painter.fillRect(rect(), palette().brush(QPalette::Mid));
    painter.fillRect(rect().adjusted(1, 1, -1, -1), palette().brush(QPalette::Window));
}
