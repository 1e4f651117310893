// DVPageControl: a row of dots, one for each page.
#pragma once

#include <QColor>
#include <QWidget>

// Dots of 7 points, 10 apart, centred, at the top of the control. From 14 pages on, 13 dots are a window over
// the pages, and a pale dot at an end says that more follow there. Mirrored from right to left.
class DVPageControl : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int numberOfPages READ numberOfPages WRITE setNumberOfPages)
    Q_PROPERTY(int currentPage READ currentPage WRITE setCurrentPage)

public:
    explicit DVPageControl(QWidget *parent = nullptr);

    int numberOfPages() const { return m_numberOfPages; }
    void setNumberOfPages(int count); // less than one: nothing is drawn
    int currentPage() const { return m_currentPage; }
    void setCurrentPage(int page); // one that is not there is not highlighted

    QColor pageIndicatorTintColor() const { return m_pageColor; }
    void setPageIndicatorTintColor(const QColor &color);
    QColor currentPageIndicatorTintColor() const { return m_currentColor; }
    void setCurrentPageIndicatorTintColor(const QColor &color);
    QColor clippedPageIndicatorTintColor() const { return m_clippedColor; }
    void setClippedPageIndicatorTintColor(const QColor &color);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void pagesChanged();
    QList<QColor> dots() const;

    int m_numberOfPages = 0;
    int m_currentPage = 0;
    QColor m_pageColor;
    QColor m_currentColor;
    QColor m_clippedColor;
};
