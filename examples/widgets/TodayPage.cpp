#include "TodayPage.h"

#include "Garden.h"
#include "Glyph.h"
#include "Look.h"
#include "PlantPainting.h"
#include "PlantWords.h"

#include <QCheckBox>
#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QProgressBar>
#include <QVBoxLayout>

namespace {

// How long the user has kept at it; an application that stores its data would count.
constexpr int daysInARow = 12;

// Three windows at the end of the banner, each with a plant on its sill.
class BannerWindows : public QWidget
{
public:
    explicit BannerWindows(QWidget *parent)
        : QWidget(parent)
    {
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    }
    QSize sizeHint() const override { return {fontMetrics().height() * 17, fontMetrics().height() * 6}; }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        const qreal wide = width() / 3.3; // the sills, which stand out
        QRectF window(0, 0, wide, height());
        for (const PlantKind kind : {PlantKind::Monstera, PlantKind::Cactus, PlantKind::Lavender}) {
            paintPlantWindow(painter, window, kind);
            window.translate((width() - wide) / 2, 0);
        }
    }
};

QLabel *wrappingLabel(QWidget *parent, const char *role)
{
    auto *label = new QLabel(parent);
    label->setWordWrap(true);
    setRole(label, role);
    return label;
}

QFrame *card(QWidget *parent)
{
    auto *frame = new QFrame(parent);
    setRole(frame, "card");
    return frame;
}

} // namespace

TodayPage::TodayPage(Garden &garden, QWidget *parent)
    : QWidget(parent)
    , m_garden(garden)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(16);
    layout->addWidget(makeBanner());
    layout->addWidget(makeFigures());
    layout->addWidget(makeTasks(), 1);
    connect(&m_garden, &Garden::dataChanged, this, &TodayPage::followGarden);
    connect(&m_garden, &Garden::rowsInserted, this, &TodayPage::followGarden);
    retranslateUi();
}

QWidget *TodayPage::makeBanner()
{
    auto *banner = new QFrame(this);
    setRole(banner, "banner");
    m_date = wrappingLabel(banner, "bannerHint");
    m_headline = wrappingLabel(banner, "bannerTitle");
    m_subtitle = wrappingLabel(banner, "bannerText");
    auto *texts = new QVBoxLayout;
    texts->setSpacing(6);
    texts->addStretch();
    texts->addWidget(m_date);
    texts->addWidget(m_headline);
    texts->addWidget(m_subtitle);
    texts->addStretch();
    auto *layout = new QHBoxLayout(banner);
    layout->setContentsMargins(26, 16, 22, 12);
    layout->setSpacing(20);
    layout->addLayout(texts, 1);
    layout->addWidget(new BannerWindows(banner));
    return banner;
}

QWidget *TodayPage::makeFigures()
{
    auto *row = new QWidget(this);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    const auto add = [&](GlyphShape shape) {
        auto *frame = card(row);
        auto *text = wrappingLabel(frame, "figure");
        auto *inside = new QHBoxLayout(frame);
        inside->setContentsMargins(16, 14, 16, 14);
        inside->setSpacing(12);
        inside->addWidget(new Glyph(shape, frame));
        inside->addWidget(text, 1);
        layout->addWidget(frame, 1);
        return text;
    };
    m_due = add(GlyphShape::Drop);
    m_owned = add(GlyphShape::Leaf);
    m_streak = add(GlyphShape::Calendar);
    return row;
}

QWidget *TodayPage::makeTasks()
{
    auto *frame = card(this);
    auto *layout = new QVBoxLayout(frame);
    layout->setContentsMargins(22, 16, 22, 16);
    layout->setSpacing(10);
    m_tasksTitle = wrappingLabel(frame, "title");
    m_progressText = new QLabel(frame);
    setRole(m_progressText, "hint");
    m_progress = new QProgressBar(frame);
    m_progress->setTextVisible(false);
    auto *head = new QHBoxLayout;
    head->addWidget(m_tasksTitle, 1);
    head->addWidget(m_progressText);
    layout->addLayout(head);
    layout->addWidget(m_progress);
    for (int row = 0; row < m_garden.rowCount(); ++row) {
        if (m_garden.plant(row).daysUntilWatering(m_garden.today()) <= 0)
            addWatering(layout, row);
    }
    m_turnPots = new QCheckBox(frame);
    m_turnPots->setChecked(true);
    m_checkLeaves = new QCheckBox(frame);
    for (QCheckBox *box : {m_turnPots, m_checkLeaves}) {
        setRole(box, "task");
        layout->addWidget(box);
        connect(box, &QCheckBox::toggled, this, &TodayPage::showProgress);
    }
    layout->addStretch();
    return frame;
}

void TodayPage::addWatering(QVBoxLayout *layout, int row)
{
    auto *box = new QCheckBox(layout->parentWidget());
    setRole(box, "task");
    auto *detail = new QLabel(layout->parentWidget());
    setRole(detail, "hint");
    auto *line = new QHBoxLayout;
    line->addWidget(box, 1);
    line->addWidget(detail);
    layout->addLayout(line);
    const QDate before = m_garden.plant(row).lastWatered;
    m_waterings.push_back({row, before, box, detail});
    connect(box, &QCheckBox::clicked, this, [this, row, before](bool done) {
        m_garden.setLastWatered(row, done ? m_garden.today() : before);
    });
}

void TodayPage::followGarden()
{
    for (const Watering &one : m_waterings)
        one.box->setChecked(m_garden.plant(one.row).daysUntilWatering(m_garden.today()) > 0);
    m_due->setText(tr("%Ln plant(s) need water today", nullptr, m_garden.plantsToWater()));
    m_owned->setText(tr("%Ln plant(s) in your care", nullptr, m_garden.rowCount()));
    showProgress();
}

void TodayPage::showProgress()
{
    int done = int(m_turnPots->isChecked()) + int(m_checkLeaves->isChecked());
    for (const Watering &one : m_waterings)
        done += int(one.box->isChecked());
    const int all = int(m_waterings.size()) + 2;
    m_progress->setRange(0, all);
    m_progress->setValue(done);
    m_progressText->setText(tr("%L1 of %L2 done").arg(done).arg(all));
}

void TodayPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslateUi();
    QWidget::changeEvent(event);
}

void TodayPage::retranslateUi()
{
    m_date->setText(QLocale().toString(m_garden.today(), QLocale::LongFormat));
    m_headline->setText(tr("Good to see you, gardener!"));
    m_subtitle->setText(tr("A few minutes a day keep every leaf happy."));
    m_streak->setText(tr("%Ln day(s) in a row without a thirsty plant", nullptr, daysInARow));
    m_tasksTitle->setText(tr("To do today"));
    m_turnPots->setText(tr("Turn the pots a little towards the light"));
    m_checkLeaves->setText(tr("Look for spider mites under the leaves"));
    for (const Watering &one : m_waterings) {
        const Plant &plant = m_garden.plant(one.row);
        one.box->setText(tr("Water: %1").arg(PlantWords::name(plant.kind)));
        one.detail->setText(
            tr("%1, %2").arg(PlantWords::place(plant.place), PlantWords::amount(plant.millilitres)));
    }
    followGarden();
}
