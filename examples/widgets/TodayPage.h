// TodayPage: a greeting, three figures and what there is to do today.
#pragma once

#include <QDate>
#include <QWidget>

#include <vector>

class Garden;
class QCheckBox;
class QLabel;
class QProgressBar;
class QVBoxLayout;

class TodayPage : public QWidget
{
    Q_OBJECT

public:
    explicit TodayPage(Garden &garden, QWidget *parent = nullptr);

protected:
    void changeEvent(QEvent *event) override;

private:
    // A watering; `before` brings the plant back when the box is unticked.
    struct Watering
    {
        int row;
        QDate before;
        QCheckBox *box;
        QLabel *detail;
    };

    QWidget *makeBanner();
    QWidget *makeFigures();
    QWidget *makeTasks();
    void addWatering(QVBoxLayout *layout, int row);
    void followGarden();
    void showProgress();
    void retranslateUi();

    Garden &m_garden;
    QLabel *m_date;
    QLabel *m_headline;
    QLabel *m_subtitle;
    QLabel *m_due;
    QLabel *m_owned;
    QLabel *m_streak;
    QLabel *m_tasksTitle;
    QLabel *m_progressText;
    QProgressBar *m_progress;
    QCheckBox *m_turnPots;
    QCheckBox *m_checkLeaves;
    std::vector<Watering> m_waterings;
};
