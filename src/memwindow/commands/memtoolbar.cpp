#include "memtoolbar.h"

#include "addressbox.h"
#include "memactions.h"
#include "memicon.h"

#include <QAbstractButton>
#include <QLabel>
#include <QStyle>

MemToolBar::MemToolBar(const MemActions &actions, QWidget *parent)
    : QToolBar(parent)
    , m_addressBox(new AddressBox(this))
{
    setObjectName(QStringLiteral("pToolBar"));
    setWindowTitle(tr("Toolbar"));
    setMovable(false);
    const int iconPx = style()->pixelMetric(QStyle::PM_SmallIconSize);
    setIconSize(QSize(iconPx, iconPx));
    auto *label = new QLabel(tr(" Go To:"), this);
    label->setBuddy(m_addressBox);
    addWidget(label);
    addWidget(m_addressBox);
    actions.FillToolBar(*this);
    if (QAbstractButton *button = ExtensionButton()) {
        button->setIcon(MemIcon("more")); // the style's own picture is black on every palette
        button->setFocusPolicy(Qt::TabFocus);
        button->setAccessibleName(tr("More"));
        button->setToolTip(tr("Show what does not fit"));
    }
}

QAbstractButton *MemToolBar::ExtensionButton() const
{
    return findChild<QAbstractButton *>(QStringLiteral("qt_toolbar_ext_button"));
}
