#pragma once

#include <QValidator>

/// Lets only whole numbers within bounds be typed; blanks around a pasted number are dropped.
///
/// An empty field and a lone sign are accepted too, and read as 0: a field that refuses them
/// would not report being left, losing the deletion.
class IntegerValidator : public QValidator {
    Q_OBJECT

public:
    IntegerValidator(qint64 min, qint64 max, QObject *parent);

    State validate(QString &text, int &caret) const override;

private:
    qint64 m_min;
    qint64 m_max;
};
