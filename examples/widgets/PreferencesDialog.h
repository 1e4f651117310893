// PreferencesDialog: the dialog made with Qt Designer.
#pragma once

#include <QDialog>
#include <QTime>

#include <memory>

namespace Ui {
class PreferencesDialog;
}

struct Preferences
{
    bool remind = true;
    QTime reminder = QTime(8, 30);
    bool careNotes = true;
};

class PreferencesDialog : public QDialog
{
    Q_OBJECT

public:
    explicit PreferencesDialog(const Preferences &preferences, QWidget *parent = nullptr);
    ~PreferencesDialog() override;

    Preferences preferences() const;

protected:
    void changeEvent(QEvent *event) override;

private:
    void fillTimes();

    const std::unique_ptr<Ui::PreferencesDialog> m_ui;
};
