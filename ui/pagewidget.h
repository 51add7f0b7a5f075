#pragma once

#include <QList>
#include <QWidget>
#include <memory>

class QKeyEvent;
class QLabel;

namespace Ui {
class PageWidget;
}

// The page selector under a table: previous and next, three groups of page numbers with separators
// between them, and a box to type a page into. It only announces the chosen page; the owner pages.
class PageWidget : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int currentPage READ currentPage)
public:
    explicit PageWidget(QWidget *parent = nullptr);
    ~PageWidget() override;

    // Labels per group; odd and at least 3. Takes effect only before the labels are built.
    void setBlockSize(int blockSize);
    int blockSize() const { return m_blockSize; }

    // A new page count returns to page 1 without announcing it.
    void setMaxPage(int maxPage);
    int maxPage() const { return m_maxPage; }

    // Clamped to 1..maxPage; announced only when it changes and signalEmitted is set.
    void setCurrentPage(int page, bool signalEmitted = false);
    int currentPage() const { return m_currentPage; }

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void currentPageChanged(int page);

private:
    void buildPageLabels();
    void updatePageLabels();
    void showAllPages();
    void showPagesAround();
    void markCurrentPage(QLabel *label, int page);
    bool pageLabelReleased(QObject *watched);
    bool pageKeyPressed(QObject *watched, const QKeyEvent *event);

    std::unique_ptr<Ui::PageWidget> ui;
    int m_blockSize = 3;
    int m_maxPage = 1;
    int m_currentPage = 1;
    QList<QLabel *> m_pageLabels;
};
