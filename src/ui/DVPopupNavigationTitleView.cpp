#include "DVPopupNavigationTitleView.h"

#include "DVActivityIndicator.h"
#include "DVAnimation.h"
#include "DVAppearance.h"
#include "DVColors.h"
#include "DVSystemFont.h"
#include "DVVectorImages.h"
#include "DVViewEffect.h"

#include <QLabel>
#include <QPainter>
#include <QPushButton>

namespace {

constexpr int imageSize = 44;
constexpr int crossfadeMilliseconds = 300;
constexpr int successMilliseconds = 1000;

void paintShape(QWidget &view, const DVVectorShape &shape, const QColor &tint)
{
    QPainter painter(&view);
    painter.setRenderHint(QPainter::Antialiasing);
    const QSizeF size = shape.sizeInPoints();
    painter.translate((view.width() - size.width()) / 2, (view.height() - size.height()) / 2);
    painter.scale(0.5, 0.5);
    painter.fillPath(shape.path, tint);
}

class LogoButton : public QPushButton
{
public:
    LogoButton()
    {
        setAccessibleName(QStringLiteral("Dorvane"));
        setFocusPolicy(
            Qt::NoFocus); // it is the title: nothing happens on a click unless a screen connects it
    }
    QSize sizeHint() const override { return QSize(imageSize, imageSize); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        paintShape(*this, DVVectorImages::logoShape(), DVColors::barText);
    }
};

class SuccessMark : public QLabel
{
public:
    SuccessMark() { setAccessibleName(QStringLiteral("Done")); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        paintShape(*this, DVVectorImages::successShape(), DVColors::barText);
    }
};

} // namespace

DVPopupNavigationTitleView::DVPopupNavigationTitleView(const QString &title, QObject *parent)
    : QObject(parent)
{
    if (title.isNull())
        return;
    m_label = new QLabel(title); // the view's; without one deleted with this
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setTextFormat(Qt::PlainText);
    dv_setTextStyle(*m_label, 17, QFont::Normal, DVColors::barText);
    const QFontMetrics metrics(dv_systemFont(17));
    m_label->resize(metrics.horizontalAdvance(title), metrics.height());
}

DVPopupNavigationTitleView::~DVPopupNavigationTitleView()
{
    for (const QPointer<QWidget> &part :
         {QPointer<QWidget>(m_label), QPointer<QWidget>(m_logo), m_spinner, m_success, m_view}) {
        if (part && !part->parent())
            delete part;
    }
}

QLabel *DVPopupNavigationTitleView::titleLabel() const
{
    return m_label;
}

QWidget *DVPopupNavigationTitleView::contents() const
{
    return m_contents;
}

QWidget *DVPopupNavigationTitleView::resting()
{
    return m_label ? static_cast<QWidget *>(m_label) : dorvaneLogo();
}

QWidget *DVPopupNavigationTitleView::view()
{
    if (!m_view) {
        m_view = new QWidget; // the bar's, once it stands there
        m_view->resize(m_label ? m_label->size() : QSize(imageSize, imageSize));
        m_contents = resting();
        m_contents->setParent(m_view);
        centre(m_contents);
        m_contents->show();
    }
    return m_view;
}

QPushButton *DVPopupNavigationTitleView::dorvaneLogo()
{
    if (!m_logo) {
        m_logo = new LogoButton; // the view's; without one deleted with this
        m_logo->resize(imageSize, imageSize);
    }
    return m_logo;
}

void DVPopupNavigationTitleView::centre(QWidget *view)
{
    view->move((m_view->width() - view->width()) / 2, (m_view->height() - view->height()) / 2);
}

void DVPopupNavigationTitleView::stopAnimations()
{
    if (m_animation)
        m_animation->cancel();
    m_animation.clear();
    if (m_incoming && m_incoming != m_contents)
        m_incoming->hide();
    m_incoming.clear();
}

void DVPopupNavigationTitleView::replaceContentsWithView(QWidget *view, std::function<void()> andCompletion)
{
    QWidget *frame = this->view();
    if (!view)
        return;
    stopAnimations();
    view->setParent(frame);
    centre(view);
    m_incoming = view;
    if (view != m_contents) {
        DVViewEffect::apply(*view, 1, 0);
        view->show();
    }
    const double before = m_contents ? DVViewEffect::alphaOf(*m_contents) : 0;
    m_animation = DVAnimation::run(
        *this, crossfadeMilliseconds, DVAnimation::Curve::EaseInOut,
        [this, before](double progress) {
            if (m_contents)
                DVViewEffect::apply(*m_contents, 1, before * (1 - progress));
        },
        [this, andCompletion = std::move(andCompletion)] { fadeIn(m_incoming, andCompletion); });
}

void DVPopupNavigationTitleView::fadeIn(QWidget *view, const std::function<void()> &andCompletion)
{
    if (m_contents && m_contents != view) {
        m_contents->hide();
        DVViewEffect::apply(*m_contents, 1, 1);
        if (auto *spinner = qobject_cast<DVActivityIndicator *>(m_contents))
            spinner->stopAnimating(); // nothing turns that nobody sees
    }
    m_contents = view;
    m_animation = DVAnimation::run(
        *this, crossfadeMilliseconds, DVAnimation::Curve::EaseInOut,
        [this](double progress) {
            if (m_contents)
                DVViewEffect::apply(*m_contents, 1, progress);
        },
        andCompletion);
}

void DVPopupNavigationTitleView::showLoading()
{
    if (!m_spinner) {
        auto *spinner = new DVActivityIndicator(view()); // the view's
        spinner->setColor(DVColors::barText);
        m_spinner = spinner;
    }
    m_spinner->resize(view()->size());
    static_cast<DVActivityIndicator *>(m_spinner.data())->startAnimating();
    replaceContentsWithView(m_spinner);
}

void DVPopupNavigationTitleView::hideLoadingWithSuccess(bool success)
{
    if (!success) {
        replaceContentsWithView(resting());
        return;
    }
    if (!m_success) {
        m_success = new SuccessMark; // the view's
        m_success->resize(imageSize, imageSize);
    }
    replaceContentsWithView(m_success, [this] {
        m_animation =
            DVAnimation::after(*this, successMilliseconds, [this] { replaceContentsWithView(resting()); });
    });
}
