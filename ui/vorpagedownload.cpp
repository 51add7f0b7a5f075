#include "ui/vorpagedownload.h"
#include "ui_vorpagedownload.h"

#include "app/vorlog.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "ui/keys.h"
#include "ui/tablefill.h"

#include <QScrollBar>

namespace {

enum Column { IdColumn, NameColumn, StartedColumn, FinishedColumn, SizeColumn, ElapsedColumn };

const int DisplayedPages = 50;
const char DateFormat[] = "yyyy-MM-dd HH:mm:ss";
const char ElapsedFormat[] = "HH:mm:ss";

} // namespace

VorPageDownload::VorPageDownload(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorPageDownload>())
{
    ui->setupUi(this);
    // Every record is in the one table; the pager only shows where paging will go.
    ui->widgetPage->setMaxPage(DisplayedPages);
    // Return in the search box searches as the button does.
    connect(ui->lineEdit, &QLineEdit::returnPressed, this, &VorPageDownload::on_pushButtonRefresh_clicked);
    ui->tableWidget->verticalScrollBar()->installEventFilter(this);
    TableFill::setUpTable(ui->tableWidget);
    const QKeySequence refresh(Qt::Key_F5);
    Keys::inView(this, { refresh }, [this] { ui->pushButtonRefresh->click(); });
    Keys::inView(this, { QKeySequence::Find, Qt::Key_F3 }, [this] {
        ui->lineEdit->setFocus(Qt::ShortcutFocusReason);
        ui->lineEdit->selectAll();
    });
    Keys::showInToolTip(ui->pushButtonRefresh, refresh);
}

VorPageDownload::~VorPageDownload() = default;

void VorPageDownload::dataUpdateDownloadInfo()
{
    QTableWidget *table = ui->tableWidget;
    table->setUpdatesEnabled(false);
    table->clearContents();

    const QList<DownloadInfo *> records = VorData::instance()->downloads();
    VOR_LOG(3, records.size());
    table->setRowCount(records.size());
    for (int row = 0; row < records.size(); ++row)
        fillRow(row, records.at(row));

    table->resizeColumnsToContents();
    table->resizeRowsToContents();
    resizeTable();
    table->setUpdatesEnabled(true);
}

void VorPageDownload::fillRow(int row, const DownloadInfo *record)
{
    QTableWidget *table = ui->tableWidget;
    table->setItem(row, IdColumn, TableFill::centredItem(QString::number(record->id)));
    table->setItem(row, NameColumn, TableFill::centredItem(record->name));
    table->setItem(row, StartedColumn, TableFill::centredItem(record->started.toString(QLatin1String(DateFormat))));
    table->setItem(row, FinishedColumn, TableFill::centredItem(record->finished.toString(QLatin1String(DateFormat))));
    table->setItem(row, SizeColumn, TableFill::centredItem(record->size));
    table->setItem(row, ElapsedColumn, TableFill::centredItem(record->elapsed.toString(QLatin1String(ElapsedFormat))));
}

void VorPageDownload::resizeTable()
{
    TableFill::fitNameColumn(ui->tableWidget, NameColumn);
}

void VorPageDownload::resizeEvent(QResizeEvent *event)
{
    resizeTable();
    QWidget::resizeEvent(event);
}

bool VorPageDownload::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->tableWidget->verticalScrollBar()
        && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
        resizeTable();
    return QWidget::eventFilter(watched, event);
}

void VorPageDownload::on_pushButtonRefresh_clicked()
{
    const QString name = ui->lineEdit->text(); // as typed: leading and trailing blanks are part of the search
    VOR_LOG(3, name);
    VorSdk::instance()->refreshDown(name);
}
