#pragma once

#include <QDialog>

class QPushButton;

/// The modal box that tells the program's title, build and licence notice.
class AboutDialog : public QDialog {
    Q_OBJECT

public:
    /// Builds and shows the box; the caller runs it modally and deletes it.
    explicit AboutDialog(const char *title);

signals:
    void _Sig_CloseDlg();

public slots:
    void _Slot_OnBtnOK();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QWidget *MakeTitleArea(const char *title);
    void SetWindowFlags();

    QPushButton *m_btnOK;
};
