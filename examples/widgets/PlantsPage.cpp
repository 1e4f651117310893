#include "PlantsPage.h"

#include "Garden.h"
#include "Look.h"
#include "PlantDelegate.h"
#include "PlantPicture.h"
#include "PlantWords.h"

#include <QEvent>
#include <QFormLayout>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSortFilterProxyModel>
#include <QVBoxLayout>

namespace {

// The plants whose names the user looks for. It says in words what their rows show, also to screen readers.
class FoundPlants : public QSortFilterProxyModel
{
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    QVariant data(const QModelIndex &index, int role) const override
    {
        return role == Qt::DisplayRole ? rowOf(index) : QSortFilterProxyModel::data(index, role);
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override
    {
        return filterRegularExpression().match(nameOf(sourceModel()->index(row, 0, parent))).hasMatch();
    }

private:
    static QString rowOf(const QModelIndex &plant)
    {
        const Place place = Place(plant.data(Garden::PlaceRole).toInt());
        return nameOf(plant) + u", " + PlantWords::place(place) + u", " +
               PlantWords::due(plant.data(Garden::DueRole).toInt());
    }
    static QString nameOf(const QModelIndex &plant)
    {
        return PlantWords::name(PlantKind(plant.data(Garden::KindRole).toInt()));
    }
};

QLabel *label(QWidget *parent, const char *role)
{
    auto *made = new QLabel(parent);
    made->setWordWrap(true);
    setRole(made, role);
    return made;
}

} // namespace

PlantsPage::PlantsPage(Garden &garden, QWidget *parent)
    : QWidget(parent)
    , m_garden(garden)
    , m_found(new FoundPlants(this))
{
    m_found->setSourceModel(&m_garden);
    m_found->setFilterCaseSensitivity(Qt::CaseInsensitive);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(16);
    layout->addWidget(makeList(), 2);
    m_detail = makeDetail();
    layout->addWidget(m_detail, 3);
    connect(&m_garden, &Garden::dataChanged, this, &PlantsPage::showPlant);
    connect(m_found, &QAbstractItemModel::rowsInserted, this, &PlantsPage::showCount);
    connect(m_found, &QAbstractItemModel::rowsRemoved, this, &PlantsPage::showCount);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this, &PlantsPage::showPlant);
    m_list->setCurrentIndex(m_found->index(0, 0));
    retranslateUi();
}

QWidget *PlantsPage::makeList()
{
    auto *side = new QWidget(this);
    m_search = new QLineEdit(side);
    m_search->setClearButtonEnabled(true);
    connect(m_search, &QLineEdit::textChanged, m_found, &QSortFilterProxyModel::setFilterFixedString);
    m_list = new QListView(side);
    m_list->setItemDelegate(new PlantDelegate(m_list));
    m_list->setModel(m_found);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollMode(QListView::ScrollPerPixel);
    m_count = label(side, "hint");
    auto *layout = new QVBoxLayout(side);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(m_search);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_count);
    return side;
}

QWidget *PlantsPage::makeDetail()
{
    auto *frame = new QFrame(this);
    setRole(frame, "card");
    auto *layout = new QVBoxLayout(frame);
    layout->setContentsMargins(24, 22, 24, 20);
    layout->setSpacing(16);
    layout->addWidget(makePortrait());
    layout->addWidget(makeNeeds());
    layout->addWidget(makeHistory());
    layout->addStretch();
    layout->addWidget(makeButtons());
    return frame;
}

QWidget *PlantsPage::makePortrait()
{
    auto *part = new QWidget(this);
    m_picture = new PlantPicture(part);
    m_name = label(part, "heading");
    m_place = label(part, "chip");
    m_light = label(part, "chip");
    m_care = label(part, "text");
    auto *chips = new QHBoxLayout;
    for (QLabel *chip : {m_place, m_light}) {
        chip->setWordWrap(false);
        chips->addWidget(chip);
    }
    chips->addStretch();
    auto *words = new QVBoxLayout;
    words->setSpacing(8);
    words->addWidget(m_name);
    words->addLayout(chips);
    words->addWidget(m_care);
    words->addStretch();
    auto *layout = new QHBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(20);
    layout->addWidget(m_picture, 0, Qt::AlignTop);
    layout->addLayout(words, 1);
    return part;
}

QWidget *PlantsPage::makeButtons()
{
    auto *part = new QWidget(this);
    m_water = new QPushButton(part);
    setRole(m_water, "primary");
    m_postpone = new QPushButton(part);
    connect(m_water, &QPushButton::clicked, this,
            [this] { m_garden.setLastWatered(currentRow(), m_garden.today()); });
    connect(m_postpone, &QPushButton::clicked, this, [this] {
        const QDate before = m_garden.plant(currentRow()).lastWatered;
        m_garden.setLastWatered(currentRow(), before.addDays(1));
    });
    auto *layout = new QHBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(m_water);
    layout->addWidget(m_postpone);
    layout->addStretch();
    return part;
}

QWidget *PlantsPage::makeNeeds()
{
    auto *part = new QWidget(this);
    m_needsTitle = label(part, "title");
    auto *form = new QFormLayout(part);
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(18);
    form->setVerticalSpacing(8);
    form->addRow(m_needsTitle);
    m_lightMeter = addMeter(form, m_lightLabel);
    m_waterMeter = addMeter(form, m_waterLabel);
    m_humidityMeter = addMeter(form, m_humidityLabel);
    return part;
}

QProgressBar *PlantsPage::addMeter(QFormLayout *form, QLabel *&label)
{
    label = new QLabel(form->parentWidget());
    auto *meter = new QProgressBar(form->parentWidget());
    meter->setTextVisible(false);
    auto *middle = new QVBoxLayout; // keeps the thin bar at half the height of its label
    middle->addStretch();
    middle->addWidget(meter);
    middle->addStretch();
    form->addRow(label, middle);
    return meter;
}

QWidget *PlantsPage::makeHistory()
{
    auto *part = new QWidget(this);
    m_wateringTitle = label(part, "title");
    m_rhythm = label(part, "text");
    m_last = label(part, "text");
    m_next = label(part, "text");
    auto *layout = new QVBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    for (QLabel *line : {m_wateringTitle, m_rhythm, m_last, m_next})
        layout->addWidget(line);
    return part;
}

void PlantsPage::setCareNotesVisible(bool visible)
{
    m_care->setVisible(visible);
}

int PlantsPage::currentRow() const
{
    return m_found->mapToSource(m_list->currentIndex()).row();
}

void PlantsPage::showPlant()
{
    const int row = currentRow();
    m_detail->setEnabled(row >= 0);
    if (row < 0)
        return;
    const Plant &plant = m_garden.plant(row);
    const PlantNeeds needs = needsOf(plant.kind);
    const QLocale locale;
    m_picture->setKind(plant.kind);
    m_name->setText(PlantWords::name(plant.kind));
    m_place->setText(PlantWords::place(plant.place));
    m_light->setText(PlantWords::light(plant.light));
    m_care->setText(PlantWords::care(plant.kind));
    m_lightMeter->setValue(needs.light);
    m_waterMeter->setValue(needs.water);
    m_humidityMeter->setValue(needs.humidity);
    m_rhythm->setText(
        tr("%1 every %Ln day(s)", nullptr, plant.waterEveryDays).arg(PlantWords::amount(plant.millilitres)));
    m_last->setText(tr("Last watered on %1").arg(locale.toString(plant.lastWatered, QLocale::ShortFormat)));
    m_next->setText(tr("Next watering: %1").arg(PlantWords::due(plant.daysUntilWatering(m_garden.today()))));
}

void PlantsPage::showCount()
{
    m_count->setText(tr("%Ln plant(s) shown", nullptr, m_found->rowCount()));
}

void PlantsPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslateUi();
    QWidget::changeEvent(event);
}

void PlantsPage::retranslateUi()
{
    m_search->setPlaceholderText(tr("Search your plants"));
    m_needsTitle->setText(tr("What it needs"));
    m_lightLabel->setText(tr("Light"));
    m_waterLabel->setText(tr("Water"));
    m_humidityLabel->setText(tr("Humidity"));
    m_wateringTitle->setText(tr("Watering"));
    m_water->setText(tr("Watered just now"));
    m_postpone->setText(tr("Remind me tomorrow"));
    m_list->viewport()->update();
    showPlant();
    showCount();
}
