#include "cdeviceitemdelegate.h"

#include "cdevicedatamodel.h"
#include "devicefilter.h"

#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QPainter>

namespace {

constexpr int kTypingPauseMs = 5;
constexpr int kArrowWidthPx = kFilterArrowPx - 4;
constexpr int kOfferedLines = 16;

QLineEdit *LineEditOf(QWidget *editor)
{
    if (auto *box = qobject_cast<QComboBox *>(editor))
        return box->lineEdit();
    return qobject_cast<QLineEdit *>(editor);
}

bool AreSameFilter(const QString &left, const QString &right)
{
    const auto matchesAll
        = [](const QString &text) { return text.isEmpty() || text == kMatchAllPattern; };
    return left == right || (matchesAll(left) && matchesAll(right));
}

} // namespace

CDeviceItemDelegate::CDeviceItemDelegate(CDeviceDataModel *devices, QObject *parent)
    : QStyledItemDelegate(parent)
    , m_devices(devices)
{
    m_typingTimer.setSingleShot(true);
    m_typingTimer.setInterval(kTypingPauseMs);
    connect(&m_typingTimer, &QTimer::timeout, this, &CDeviceItemDelegate::UpdateFilter);
    connect(this, &QAbstractItemDelegate::closeEditor, this, &CDeviceItemDelegate::OnEditorClosed);
}

QWidget *CDeviceItemDelegate::createEditor(
    QWidget *parent, const QStyleOptionViewItem &, const QModelIndex &index) const
{
    const QStringList &values = m_devices->FilterPatterns(index.column());
    QWidget *editor = values.isEmpty() ? MakeTextField(parent) : MakeValueBox(parent, values);
    QLineEdit *field = LineEditOf(editor);
    const QString title = m_devices->headerData(index.column(), Qt::Horizontal).toString();
    editor->setAccessibleName(QStringLiteral("Filter for %1").arg(title));
    field->setText(index.data(Qt::DisplayRole).toString());
    field->selectAll();
    // Connected last: filling the editor must not count as typing.
    if (auto *box = qobject_cast<QComboBox *>(editor)) {
        connect(
            box, &QComboBox::currentIndexChanged, this, &CDeviceItemDelegate::OnFilterTextChanged);
        connect(box, &QComboBox::editTextChanged, this, &CDeviceItemDelegate::OnFilterTextChanged);
    } else {
        connect(field, &QLineEdit::textChanged, this, &CDeviceItemDelegate::OnFilterTextChanged);
    }
    m_editor = editor;
    m_column = index.column();
    m_formerText = m_devices->FilterText(m_column);
    return editor;
}

QWidget *CDeviceItemDelegate::MakeValueBox(QWidget *parent, const QStringList &values) const
{
    auto *box = new QComboBox(parent);
    box->setObjectName(QStringLiteral("pComboBoxFilter"));
    // There may be thousands of texts: Qt must not measure each of them.
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(1);
    if (auto *list = qobject_cast<QListView *>(box->view()))
        list->setUniformItemSizes(true);
    box->setMaxVisibleItems(kOfferedLines);
    box->addItem(kMatchAllPattern);
    box->addItems(values);
    box->setEditable(true);
    box->setInsertPolicy(QComboBox::NoInsert);
    box->setCompleter(nullptr); // completing "stm" to a whole name would filter by that name
    box->setFrame(false);
    box->setAutoFillBackground(true);
    box->setCursor(Qt::ArrowCursor);
    box->setCurrentIndex(-1);
    return box;
}

QWidget *CDeviceItemDelegate::MakeTextField(QWidget *parent) const
{
    auto *field = new QLineEdit(parent);
    field->setObjectName(QStringLiteral("pEditBoxFilter"));
    field->setFrame(false);
    field->setAutoFillBackground(true);
    return field;
}

void CDeviceItemDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    // Also called after each change that the editor made itself: text and caret must stay then.
    QLineEdit *field = LineEditOf(editor);
    const QString text = index.data(Qt::EditRole).toString();
    if (!AreSameFilter(field->text(), text))
        field->setText(text);
}

void CDeviceItemDelegate::setModelData(
    QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const
{
    const QString text = LineEditOf(editor)->text();
    if (!AreSameFilter(text, index.data(Qt::EditRole).toString()))
        model->setData(index, text, Qt::EditRole);
}

void CDeviceItemDelegate::updateEditorGeometry(
    QWidget *editor, const QStyleOptionViewItem &option, const QModelIndex &) const
{
    editor->setGeometry(option.rect);
}

void CDeviceItemDelegate::OnFilterTextChanged()
{
    m_typingTimer.start();
}

void CDeviceItemDelegate::UpdateFilter()
{
    m_typingTimer.stop();
    if (m_editor != nullptr)
        m_devices->setData(
            m_devices->index(kFilterRow, m_column), LineEditOf(m_editor)->text(), Qt::EditRole);
}

void CDeviceItemDelegate::OnEditorClosed(QWidget *editor)
{
    if (editor != m_editor)
        return;
    if (m_typingTimer.isActive())
        UpdateFilter(); // the last keys count even if the editor closes before the timer fires
    m_editor = nullptr;
}

bool CDeviceItemDelegate::eventFilter(QObject *object, QEvent *event)
{
    if (object == m_editor && event->type() == QEvent::KeyPress) {
        const auto *keyEvent = static_cast<QKeyEvent *>(event);
        const bool isPlain
            = (keyEvent->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier)) == 0;
        if (isPlain && HandleKey(m_editor, keyEvent->key()))
            return true;
    }
    return QStyledItemDelegate::eventFilter(object, event);
}

bool CDeviceItemDelegate::HandleKey(QWidget *editor, int key)
{
    switch (key) {
    case Qt::Key_Escape: // restores the filter; a second Escape reaches the dialog
        LineEditOf(editor)->setText(m_formerText);
        UpdateFilter();
        emit closeEditor(editor, NoHint);
        return true;
    case Qt::Key_Backtab:
        if (m_column > 0)
            return false;
        // Qt would wrap around to the last device and so select it.
        emit commitData(editor);
        emit closeEditor(editor, NoHint);
        return true;
    case Qt::Key_Tab:
        if (m_column < kDeviceColumns - 1)
            return false; // Qt goes on to the next cell
        [[fallthrough]];
    case Qt::Key_Down:
    case Qt::Key_Enter:
    case Qt::Key_Return:
        emit commitData(editor);
        emit closeEditor(editor, NoHint);
        emit LeftDownwards();
        return true;
    default:
        return false;
    }
}

void CDeviceItemDelegate::initStyleOption(
    QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->backgroundBrush = option->palette.brush(QPalette::AlternateBase);
    option->rect.setRight(option->rect.right() - kArrowWidthPx);
}

void CDeviceItemDelegate::paint(
    QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    painter->fillRect(option.rect, option.palette.brush(QPalette::AlternateBase));
    QStyledItemDelegate::paint(painter, option, index);
    QStyleOption arrow;
    arrow.palette = option.palette;
    arrow.state = QStyle::State_Enabled;
    arrow.rect = QRect(option.rect.right() - kArrowWidthPx - 2, option.rect.top(), kArrowWidthPx,
        option.rect.height());
    const QStyle *style = option.widget != nullptr ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_IndicatorArrowDown, &arrow, painter, option.widget);
}
