#include "PreferencesDialog.h"

#include "ui_PreferencesDialog.h"

#include <QEvent>
#include <QLocale>

namespace {

constexpr int firstHour = 6;
constexpr int timesOffered = 9; // one every half hour

QTime timeAt(int index)
{
    return QTime(firstHour, 0).addSecs(index * 1800);
}

} // namespace

PreferencesDialog::PreferencesDialog(const Preferences &preferences, QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::PreferencesDialog>())
{
    m_ui->setupUi(this);
    m_ui->remind->setChecked(preferences.remind);
    fillTimes();
    m_ui->time->setCurrentIndex(QTime(firstHour, 0).secsTo(preferences.reminder) / 1800);
    m_ui->careNotes->setChecked(preferences.careNotes);
}

PreferencesDialog::~PreferencesDialog() = default;

Preferences PreferencesDialog::preferences() const
{
    return {.remind = m_ui->remind->isChecked(),
            .reminder = timeAt(m_ui->time->currentIndex()),
            .careNotes = m_ui->careNotes->isChecked()};
}

void PreferencesDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        fillTimes();
    }
    QDialog::changeEvent(event);
}

void PreferencesDialog::fillTimes()
{
    const int chosen = m_ui->time->currentIndex();
    m_ui->time->clear();
    for (int i = 0; i < timesOffered; ++i)
        m_ui->time->addItem(QLocale().toString(timeAt(i), QLocale::ShortFormat));
    m_ui->time->setCurrentIndex(chosen);
}
