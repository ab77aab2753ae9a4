#pragma once

#include <QPointer>
#include <QStyledItemDelegate>
#include <QTimer>

/// How much of a filter cell's right end is its arrow, which opens the list of patterns.
inline constexpr int kFilterArrowPx = 16;

class CDeviceDataModel;
class QLineEdit;

/// Edits and paints the cells of the filter row.
///
/// What the user types becomes the column's filter a moment after the last key, so that a burst of
/// keys filters once. One editor is open at a time.
class CDeviceItemDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    /// @param devices  receives the filter texts and offers each column's values; outlives this
    explicit CDeviceItemDelegate(CDeviceDataModel *devices, QObject *parent = nullptr);

    [[nodiscard]] QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
        const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(
        QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
        const QModelIndex &index) const override;
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
        const QModelIndex &index) const override;

signals:
    /// The user has left the filters for the devices.
    void LeftDownwards();

public slots:
    void OnFilterTextChanged();
    void OnEditorClosed(QWidget *editor);
    void UpdateFilter();

protected:
    bool eventFilter(QObject *object, QEvent *event) override;
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    [[nodiscard]] QWidget *MakeValueBox(QWidget *parent, const QStringList &values) const;
    [[nodiscard]] QWidget *MakeTextField(QWidget *parent) const;
    [[nodiscard]] bool HandleKey(QWidget *editor, int key);

    CDeviceDataModel *m_devices;
    mutable QPointer<QWidget>
        m_editor;             ///< the open editor; set where Qt asks for it, in a const function
    mutable int m_column = 0; ///< the column of m_editor
    mutable QString m_formerText; ///< the column's filter when m_editor was opened
    QTimer m_typingTimer;
};
