#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

/// Gives a control without a visible label one that screen readers find: they announce a combo box
/// by its labels and its current text, whatever its accessible name is.
inline void LabelForScreenReaders(QWidget *control, const char *text)
{
    auto *label = new QLabel(QString::fromLatin1(text), control->parentWidget());
    label->setBuddy(control);
    label->hide();
}

// Makes a control with its object name, owned by the parent, and connects it to one slot.

template <typename Receiver, typename Slot>
[[nodiscard]] QRadioButton *MakeRadioButton(
    const char *label, const char *objectName, QWidget *parent, Receiver *receiver, Slot slot)
{
    auto *button = new QRadioButton(QString::fromLatin1(label), parent);
    button->setObjectName(QString::fromLatin1(objectName));
    QObject::connect(button, &QRadioButton::toggled, receiver, slot);
    return button;
}

template <typename Receiver, typename Slot>
[[nodiscard]] QCheckBox *MakeCheckBox(
    const char *label, const char *objectName, QWidget *parent, Receiver *receiver, Slot slot)
{
    auto *box = new QCheckBox(QString::fromLatin1(label), parent);
    box->setObjectName(QString::fromLatin1(objectName));
    QObject::connect(box, &QCheckBox::stateChanged, receiver, slot);
    return box;
}

template <typename Receiver, typename Slot>
[[nodiscard]] QPushButton *MakePushButton(
    const char *label, const char *objectName, QWidget *parent, Receiver *receiver, Slot slot)
{
    auto *button = new QPushButton(QString::fromLatin1(label), parent);
    button->setObjectName(QString::fromLatin1(objectName));
    QObject::connect(button, &QPushButton::clicked, receiver, slot);
    return button;
}
