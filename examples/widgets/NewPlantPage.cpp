#include "NewPlantPage.h"

#include "Garden.h"
#include "Look.h"
#include "PlantPicture.h"
#include "PlantWords.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QVBoxLayout>

namespace {

constexpr int amountStep = 50; // millilitres

QSlider *slider(QWidget *parent, int from, int to)
{
    auto *made = new QSlider(Qt::Horizontal, parent);
    made->setRange(from, to);
    return made;
}

// Changes the words of a combo box and leaves the choice as it is.
template<typename Words> void retranslate(QComboBox *box, int count, Words words)
{
    for (int i = 0; i < count; ++i) {
        if (i < box->count())
            box->setItemText(i, words(i));
        else
            box->addItem(words(i));
    }
}

} // namespace

NewPlantPage::NewPlantPage(Garden &garden, QWidget *parent)
    : QWidget(parent)
    , m_garden(garden)
{
    auto *form = new QVBoxLayout;
    form->setSpacing(14);
    form->addWidget(makeAbout());
    form->addWidget(makeWatering());
    form->addWidget(makeLight());
    form->addWidget(makeCare());
    form->addStretch();
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(16);
    layout->addLayout(form, 3);
    layout->addWidget(makePreview(), 2);
    retranslateUi();
    startOver();
}

QWidget *NewPlantPage::makeAbout()
{
    m_about = new QGroupBox(this);
    m_kindLabel = new QLabel(m_about);
    m_placeLabel = new QLabel(m_about);
    m_kind = new QComboBox(m_about);
    m_place = new QComboBox(m_about);
    auto *layout = new QFormLayout(m_about);
    layout->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    layout->setHorizontalSpacing(16);
    layout->addRow(m_kindLabel, m_kind);
    layout->addRow(m_placeLabel, m_place);
    connect(m_kind, &QComboBox::currentIndexChanged, this, &NewPlantPage::showPlant);
    connect(m_place, &QComboBox::currentIndexChanged, this, &NewPlantPage::showPlant);
    return m_about;
}

QWidget *NewPlantPage::makeWatering()
{
    m_watering = new QGroupBox(this);
    m_daysText = new QLabel(m_watering);
    m_amountText = new QLabel(m_watering);
    m_days = slider(m_watering, 1, 30);
    m_amount = slider(m_watering, 1, 12);
    auto *layout = new QVBoxLayout(m_watering);
    for (QWidget *part : std::initializer_list<QWidget *>{m_daysText, m_days, m_amountText, m_amount})
        layout->addWidget(part);
    connect(m_days, &QSlider::valueChanged, this, &NewPlantPage::showPlant);
    connect(m_amount, &QSlider::valueChanged, this, &NewPlantPage::showPlant);
    return m_watering;
}

QWidget *NewPlantPage::makeLight()
{
    m_lightBox = new QGroupBox(this);
    m_light = new QButtonGroup(this);
    auto *layout = new QHBoxLayout(m_lightBox);
    layout->setSpacing(18);
    for (int i = 0; i < lightCount; ++i) {
        auto *choice = new QRadioButton(m_lightBox);
        m_light->addButton(choice, i);
        layout->addWidget(choice);
    }
    layout->addStretch();
    return m_lightBox;
}

QWidget *NewPlantPage::makeCare()
{
    m_care = new QGroupBox(this);
    m_lessInWinter = new QCheckBox(m_care);
    m_feed = new QCheckBox(m_care);
    auto *layout = new QHBoxLayout(m_care);
    layout->setSpacing(18);
    layout->addWidget(m_lessInWinter);
    layout->addWidget(m_feed);
    layout->addStretch();
    return m_care;
}

QWidget *NewPlantPage::makePreview()
{
    auto *frame = new QFrame(this);
    setRole(frame, "card");
    m_picture = new PlantPicture(frame);
    m_name = new QLabel(frame);
    setRole(m_name, "heading");
    m_summary = new QLabel(frame);
    for (QLabel *text : {m_name, m_summary}) {
        text->setWordWrap(true);
        text->setAlignment(Qt::AlignHCenter);
    }
    m_add = new QPushButton(frame);
    setRole(m_add, "primary");
    m_startOver = new QPushButton(frame);
    connect(m_add, &QPushButton::clicked, this, &NewPlantPage::addPlant);
    connect(m_startOver, &QPushButton::clicked, this, &NewPlantPage::startOver);
    auto *layout = new QVBoxLayout(frame);
    layout->setContentsMargins(24, 24, 24, 20);
    layout->setSpacing(12);
    layout->addStretch();
    layout->addWidget(m_picture, 0, Qt::AlignHCenter);
    layout->addWidget(m_name);
    layout->addWidget(m_summary);
    layout->addStretch();
    layout->addWidget(m_add);
    layout->addWidget(m_startOver);
    return frame;
}

Plant NewPlantPage::plant() const
{
    return {.kind = PlantKind(m_kind->currentIndex()),
            .place = Place(m_place->currentIndex()),
            .light = Light(m_light->checkedId()),
            .waterEveryDays = m_days->value(),
            .millilitres = m_amount->value() * amountStep,
            .lastWatered = m_garden.today()};
}

void NewPlantPage::startOver()
{
    m_kind->setCurrentIndex(int(PlantKind::Cactus));
    m_place->setCurrentIndex(int(Place::Balcony));
    m_days->setValue(21);
    m_amount->setValue(2);
    m_light->button(int(Light::FullSun))->setChecked(true);
    m_lessInWinter->setChecked(true);
    m_feed->setChecked(false);
    showPlant();
}

void NewPlantPage::addPlant()
{
    m_garden.add(plant());
    Q_EMIT plantAdded(PlantWords::name(plant().kind));
}

void NewPlantPage::showPlant()
{
    const Plant shown = plant();
    const QString name = PlantWords::name(shown.kind);
    const QString amount = PlantWords::amount(shown.millilitres);
    m_picture->setKind(shown.kind);
    m_name->setText(name);
    m_daysText->setText(tr("Every %Ln day(s)", nullptr, shown.waterEveryDays));
    m_amountText->setText(tr("%1 each time").arg(amount));
    m_summary->setText(
        tr("Place: %1. Your plant will get %2 every %Ln day(s).", nullptr, shown.waterEveryDays)
            .arg(PlantWords::place(shown.place), amount));
}

void NewPlantPage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslateUi();
    QWidget::changeEvent(event);
}

void NewPlantPage::retranslateUi()
{
    m_about->setTitle(tr("About the plant"));
    m_kindLabel->setText(tr("Kind"));
    m_placeLabel->setText(tr("Place"));
    m_watering->setTitle(tr("Watering"));
    m_lightBox->setTitle(tr("Light"));
    m_care->setTitle(tr("Care"));
    m_lessInWinter->setText(tr("Water less in winter"));
    m_feed->setText(tr("Feed once a month"));
    m_add->setText(tr("Add to my plants"));
    m_startOver->setText(tr("Start over"));
    retranslate(m_kind, plantKindCount, [](int i) { return PlantWords::name(PlantKind(i)); });
    retranslate(m_place, placeCount, [](int i) { return PlantWords::place(Place(i)); });
    for (int i = 0; i < lightCount; ++i)
        m_light->button(i)->setText(PlantWords::light(Light(i)));
    showPlant();
}
