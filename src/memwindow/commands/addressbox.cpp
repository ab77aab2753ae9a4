#include "addressbox.h"

#include "addresshistory.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QEvent>
#include <QIcon>
#include <QKeyEvent>
#include <QLineEdit>

#include <algorithm>
#include <utility>

namespace {

constexpr int kMinimumContentsChars = 7;
constexpr int kMinimumWidthChars = 24;

bool IsReturn(const QKeyEvent &event)
{
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

} // namespace

AddressBox::AddressBox(QWidget *parent)
    : QuietComboBox(parent)
{
    setObjectName(QStringLiteral("pEditBoxAddr"));
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    // With duplicates forbidden, Return would first make an equal text of the list current and
    // then report the key: two jumps for one.
    setDuplicatesEnabled(true);
    setMinimumContentsLength(kMinimumContentsChars);
    completer()->setCaseSensitivity(Qt::CaseSensitive);
    // Nothing is completed: addresses begin alike, and 2000 with Return would go to 20000A00.
    completer()->setModel(nullptr);
    connect(this, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_isRefilling)
            m_hasChanged = true;
    });
    lineEdit()->installEventFilter(this);
    setToolTip(QStringLiteral("Hexadecimal address"));
    setAccessibleName(QStringLiteral("Go To"));
    lineEdit()->setAccessibleName(QStringLiteral("Go To"));
    UpdateMinimumWidth();
}

void AddressBox::AddText(QString text)
{
    NormaliseAddressText(text);
    setEditText(text);
    SetItems(WithAddressBoxText(Items(), text));
}

void AddressBox::SetItems(const QStringList &items)
{
    m_isRefilling = true;
    clear();
    for (QString text : items) {
        NormaliseAddressText(text);
        addItem(QIcon(), text);
    }
    m_isRefilling = false;
}

bool AddressBox::IsListOpen() const
{
    // The list is created when it is first opened; calling view() would create it.
    const auto views = findChildren<QAbstractItemView *>();
    return std::any_of(views.begin(), views.end(),
        [](const QAbstractItemView *view) { return view->isVisible(); });
}

void AddressBox::showPopup()
{
    m_hasChanged = false;
    QComboBox::showPopup();
}

bool AddressBox::TakeRepeatedChoice()
{
    return !std::exchange(m_hasChanged, false);
}

QStringList AddressBox::Items() const
{
    QStringList items;
    for (int i = 0; i < count(); ++i)
        items << itemText(i);
    return items;
}

void AddressBox::UpdateMinimumWidth()
{
    setMinimumWidth(kMinimumWidthChars * fontMetrics().horizontalAdvance(u'0'));
}

void AddressBox::changeEvent(QEvent *event)
{
    QComboBox::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        UpdateMinimumWidth();
}

// The box has the focus and hands its keys to the line edit. A key that an assistive program sends
// to the line edit itself comes here afterwards, and must not be handed back: one Return, one jump.
bool AddressBox::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == lineEdit() && event->type() == QEvent::KeyPress)
        m_returnIsHandled = IsReturn(*static_cast<QKeyEvent *>(event));
    return QComboBox::eventFilter(watched, event);
}

void AddressBox::keyPressEvent(QKeyEvent *event)
{
    if (IsReturn(*event) && std::exchange(m_returnIsHandled, false))
        event->accept();
    else
        QComboBox::keyPressEvent(event);
}
