#include "ui/pagewidget.h"
#include "ui_pagewidget.h"

#include <QHBoxLayout>
#include <QIntValidator>
#include <QKeyEvent>
#include <QLabel>

namespace {

const int MaxTypedPage = 10000000;
const char PageProperty[] = "page";
const char CurrentPageProperty[] = "currentPage";

QHBoxLayout *pageGroupLayout(QWidget *holder)
{
    auto *layout = new QHBoxLayout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    return layout;
}

} // namespace

PageWidget::PageWidget(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::PageWidget>())
{
    ui->setupUi(this);
    setBlockSize(3);
    buildPageLabels();
    m_maxPage = 1;
    m_currentPage = 1;
    updatePageLabels();
}

PageWidget::~PageWidget() = default;

void PageWidget::setBlockSize(int blockSize)
{
    if (blockSize > 2)
        m_blockSize = blockSize % 2 == 0 ? blockSize + 1 : blockSize; // the centre group needs a middle
    else
        m_blockSize = 3;
}

void PageWidget::buildPageLabels()
{
    ui->pageLineEdit->setValidator(new QIntValidator(1, MaxTypedPage, this));
    for (QLabel *label : { ui->previousPageLabel, ui->nextPageLabel }) {
        label->setProperty(PageProperty, QStringLiteral("true"));
        label->installEventFilter(this);
    }
    ui->pageLineEdit->installEventFilter(this);

    QHBoxLayout *left = pageGroupLayout(ui->leftPagesWidget);
    QHBoxLayout *centre = pageGroupLayout(ui->centerPagesWidget);
    QHBoxLayout *right = pageGroupLayout(ui->rightPagesWidget);
    for (int i = 1; i <= 3 * m_blockSize; ++i) {
        auto *label = new QLabel(QString::number(i));
        label->setProperty(PageProperty, QStringLiteral("true"));
        label->setAlignment(Qt::AlignCenter);
        label->setCursor(Qt::PointingHandCursor);
        label->installEventFilter(this);
        m_pageLabels.append(label);
        if (i <= m_blockSize)
            left->addWidget(label);
        else if (i <= 2 * m_blockSize)
            centre->addWidget(label);
        else
            right->addWidget(label);
    }
}

void PageWidget::setMaxPage(int maxPage)
{
    maxPage = qMax(1, maxPage);
    if (maxPage == m_maxPage)
        return;
    m_maxPage = maxPage;
    m_currentPage = 1;
    updatePageLabels();
}

void PageWidget::setCurrentPage(int page, bool signalEmitted)
{
    page = qBound(1, page, m_maxPage);
    if (page == m_currentPage)
        return;
    m_currentPage = page;
    updatePageLabels();
    if (signalEmitted)
        emit currentPageChanged(page);
}

void PageWidget::updatePageLabels()
{
    ui->leftSeparateLabel->hide();
    ui->rightSeparateLabel->hide();
    if (m_maxPage <= 3 * m_blockSize)
        showAllPages();
    else
        showPagesAround();
}

void PageWidget::markCurrentPage(QLabel *label, int page)
{
    label->setProperty(CurrentPageProperty, page == m_currentPage ? QStringLiteral("true") : QStringLiteral("false"));
    // A changed dynamic property is styled only once the style sheet is applied again.
    label->setStyleSheet(QStringLiteral("/**/"));
}

void PageWidget::showAllPages()
{
    for (int i = 0; i < m_pageLabels.size(); ++i) {
        QLabel *label = m_pageLabels.at(i);
        if (i < m_maxPage) {
            label->setText(QString::number(i + 1));
            label->show();
        } else {
            label->hide();
        }
        markCurrentPage(label, i + 1);
    }
}

void PageWidget::showPagesAround()
{
    const int n = m_blockSize;
    const int half = n / 2;
    int start = 0;
    if (m_currentPage <= n + half + 1) {
        start = n + 1;
        ui->rightSeparateLabel->show();
    } else if (m_currentPage >= m_maxPage - n - half) {
        start = m_maxPage - 2 * n + 1;
        ui->leftSeparateLabel->show();
    } else {
        start = m_currentPage - half;
        ui->leftSeparateLabel->show();
        ui->rightSeparateLabel->show();
    }
    for (int j = 1; j <= n; ++j) {
        m_pageLabels.at(j - 1)->setText(QString::number(j));
        m_pageLabels.at(n + j - 1)->setText(QString::number(start - 1 + j));
        m_pageLabels.at(2 * n + j - 1)->setText(QString::number(m_maxPage - n + j));
    }
    for (QLabel *label : qAsConst(m_pageLabels)) {
        markCurrentPage(label, label->text().toInt());
        label->show();
    }
}

bool PageWidget::pageLabelReleased(QObject *watched)
{
    if (watched == ui->previousPageLabel) {
        setCurrentPage(m_currentPage - 1, true);
        return true;
    }
    if (watched == ui->nextPageLabel) {
        setCurrentPage(m_currentPage + 1, true);
        return true;
    }
    for (QLabel *label : qAsConst(m_pageLabels)) {
        if (watched == label) {
            setCurrentPage(label->text().toInt(), true);
            return true;
        }
    }
    return false;
}

// The previous and next labels take the focus: Left and Right move a page, and Enter or Space does what a
// click on the label does.
bool PageWidget::pageKeyPressed(QObject *watched, const QKeyEvent *event)
{
    if (watched != ui->previousPageLabel && watched != ui->nextPageLabel)
        return false;
    int step = 0;
    switch (event->key()) {
    case Qt::Key_Left:
        step = -1;
        break;
    case Qt::Key_Right:
        step = 1;
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        step = watched == ui->previousPageLabel ? -1 : 1;
        break;
    default:
        return false;
    }
    setCurrentPage(m_currentPage + step, true);
    return true;
}

bool PageWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonRelease && pageLabelReleased(watched))
        return true;
    if (event->type() == QEvent::KeyPress && pageKeyPressed(watched, static_cast<QKeyEvent *>(event)))
        return true;
    if (watched == ui->pageLineEdit && event->type() == QEvent::KeyRelease) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            setCurrentPage(ui->pageLineEdit->text().toInt(), true);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}
