#include "ui/vorpagesave.h"
#include "ui_vorpagesave.h"

#include "app/vorlog.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "ui/scheckboxheaderview.h"
#include "ui/tablefill.h"
#include "ui/vordialog.h"
#include "ui/vorsavedirfile.h"
#include "ui/vorsavehandle.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QMenu>
#include <QScrollBar>
#include <QShowEvent>
#include <QTimer>

namespace {

enum Column { CheckColumn, NameColumn, StorageColumn, SizeColumn, ModifiedColumn, HandleColumn };

const int CheckColumnWidth = 72;
const int NameColumnStartWidth = 400;
const int UploadMenuWidth = 160;
const int TableFrame = 2;
const char DateFormat[] = "yyyy/MM/dd HH:mm:ss";

QTableWidgetItem *centredItem(const QString &text)
{
    auto *item = new QTableWidgetItem(text);
    item->setTextAlignment(Qt::AlignCenter);
    return item;
}

const char *boolText(bool value)
{
    return value ? "true" : "false";
}

// Rows of cell widgets meet two costs in Qt that grow with the square of the number of widgets: a layout
// request posted to a widget that already waits for an event is compared with every event in the queue,
// and every widget marked for repaint is compared with all of its siblings. A fill therefore hides the
// viewport (its cells then post nothing to it and ask for no repaint of their own), lets the posted
// events through every few dozen rows so that the queue stays short, and repaints the viewport as a whole
// once the rows are in. For the same reason the viewport is hidden while the page is out of sight, so
// that showing the page again does not show every cell one by one.

} // namespace

VorPageSave::VorPageSave(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorPageSave>())
{
    ui->setupUi(this);

    m_header = new SCheckBoxHeaderView(Qt::Horizontal, this);
    ui->tableWidget->setHorizontalHeader(m_header);
    m_header->setStretchLastSection(true);
    connect(m_header, &SCheckBoxHeaderView::checkStausChange, this, &VorPageSave::checkStausChange);

    buildUploadMenu();

    // The scroll bar comes and goes after a redraw has been laid out; the name column must follow.
    ui->tableWidget->verticalScrollBar()->installEventFilter(this);
}

VorPageSave::~VorPageSave() = default;

void VorPageSave::buildUploadMenu()
{
    m_menuUpload = new QMenu(this);
    m_actionFile = m_menuUpload->addAction(tr("上传文件"));
    m_actionFile->setObjectName(QStringLiteral("actionFile"));
    m_actionDir = m_menuUpload->addAction(tr("上传目录"));
    m_actionDir->setObjectName(QStringLiteral("actionDir"));
    m_menuUpload->setFixedWidth(UploadMenuWidth);
    m_menuUpload->setCursor(Qt::PointingHandCursor);
    ui->pushButtonUp->setMenu(m_menuUpload);
    connect(m_actionFile, &QAction::triggered, this, &VorPageSave::actionFile);
    connect(m_actionDir, &QAction::triggered, this, &VorPageSave::actionDir);
}

void VorPageSave::setPath(const QString &path)
{
    ui->widgetPath->setPath(path);
}

void VorPageSave::dataUpdateLocation(bool pub, bool pri)
{
    VOR_LOG(3, boolText(pub), boolText(pri));
    ui->widgetLocation->setPublicVisible(pub);
    ui->widgetLocation->setPrivateVisible(pri);
}

void VorPageSave::dataUpdateSaveFileInfo()
{
    m_redraw.request([this] { redrawTable(); });
}

void VorPageSave::redrawTable()
{
    QTableWidget *table = ui->tableWidget;
    TableFill::begin(table);
    removeRows();

    m_entries = VorData::instance()->fileInfos();
    VOR_LOG(3, m_entries.size());
    table->setRowCount(m_entries.size());
    m_checkBoxes.reserve(m_entries.size());
    if (!m_redraw.fillRows(m_entries.size(), [this](int row) { fillRow(row, m_entries.at(row)); })) {
        TableFill::end(table); // the store has replaced the rows this fill was reading
        return;
    }

    table->resizeColumnsToContents();
    table->resizeRowsToContents();
    resizeTable();
    TableFill::end(table);
}

void VorPageSave::removeRows()
{
    qDeleteAll(m_checkBoxes);
    m_checkBoxes.clear();
    TableFill::deleteCellWidgets(ui->tableWidget, { CheckColumn, NameColumn, HandleColumn });
    ui->tableWidget->clearContents();
}

void VorPageSave::fillRow(int row, FileEntry *entry)
{
    QTableWidget *table = ui->tableWidget;
    table->setCellWidget(row, CheckColumn, makeCheckCell());

    auto *dirFile = new VorSaveDirFile(table);
    dirFile->setDirFile(entry->name, entry->isDir);
    table->setCellWidget(row, NameColumn, dirFile);
    table->setColumnWidth(NameColumn, NameColumnStartWidth); // the final width is set once all rows are in

    table->setItem(row, StorageColumn, centredItem(entry->storageClass));
    table->setItem(row, SizeColumn, centredItem(entry->size));
    table->setItem(row, ModifiedColumn, centredItem(entry->modified.toString(QLatin1String(DateFormat))));
    table->setCellWidget(row, HandleColumn, new VorSaveHandle(entry, table));
}

QWidget *VorPageSave::makeCheckCell()
{
    auto *cell = new QWidget(ui->tableWidget);
    auto *layout = new QHBoxLayout(cell);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *box = new QCheckBox(cell);
    layout->addWidget(box, 0, Qt::AlignCenter);
    m_checkBoxes.append(box);
    return cell;
}

void VorPageSave::resizeTable()
{
    QTableWidget *table = ui->tableWidget;
    // The stretched last column would otherwise count with the room it was given last time, not with
    // what its buttons need, and keep that room from the name column.
    m_header->setStretchLastSection(false);
    table->resizeColumnsToContents();
    table->setColumnWidth(CheckColumn, CheckColumnWidth);

    int used = 0;
    for (int column : { CheckColumn, StorageColumn, SizeColumn, ModifiedColumn, HandleColumn })
        used += table->columnWidth(column);
    QScrollBar *bar = table->verticalScrollBar();
    if (bar->isVisible())
        used += bar->width();
    VOR_LOG(3, bar->width(), boolText(bar->isVisible()));

    // The name takes all the room that is left, and never less than it needs.
    table->setColumnWidth(NameColumn, qMax(table->width() - used - TableFrame, table->columnWidth(NameColumn)));
    m_header->setStretchLastSection(true);
}

void VorPageSave::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous() && !m_redraw.isRunning() && ui->tableWidget->viewport()->isHidden())
        TableFill::showCells(ui->tableWidget);
    // Rows filled while the page was out of sight were measured before the style sheet reached their
    // cells; the columns are sized again once the page is on screen.
    if (!event->spontaneous())
        QTimer::singleShot(0, this, [this] {
            if (!m_redraw.isRunning())
                resizeTable();
        });
}

void VorPageSave::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous() && !m_redraw.isRunning())
        ui->tableWidget->viewport()->hide();
}

void VorPageSave::resizeEvent(QResizeEvent *event)
{
    resizeTable();
    QWidget::resizeEvent(event);
}

bool VorPageSave::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->tableWidget->verticalScrollBar()
        && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
        resizeTable();
    return QWidget::eventFilter(watched, event);
}

void VorPageSave::checkStausChange(bool checked)
{
    VOR_LOG(3, boolText(checked));
    for (QCheckBox *box : qAsConst(m_checkBoxes))
        box->setChecked(checked);
}

void VorPageSave::actionFile()
{
    const QStringList files = QFileDialog::getOpenFileNames(this, tr("选择文件"), QString(), QString());
    VOR_LOG(3, files);
    VorSdk::instance()->upload(files);
}

void VorPageSave::actionDir()
{
    const QString dir = QFileDialog::getExistingDirectory(this, tr("选择文件夹"), QString(), QFileDialog::ShowDirsOnly);
    VOR_LOG(3, dir);
    VorSdk::instance()->uploadDir(dir);
}

void VorPageSave::on_pushButtonUp_clicked()
{
    // The button opens its menu; the menu's actions do the work.
}

void VorPageSave::on_pushButtonDown_clicked()
{
    const QList<FileEntry *> &entries = VorData::instance()->fileInfos();
    QList<FileEntry *> checked;
    for (int i = 0; i < m_checkBoxes.size() && i < entries.size(); ++i) {
        if (m_checkBoxes.at(i)->isChecked())
            checked.append(entries.at(i));
    }
    VOR_LOG(3, checked.size());
    if (checked.isEmpty()) {
        VorDialog::showMessage(tr("错误"), tr("没有勾选需要下载的文件"), this, tr("确定"));
        return;
    }
    VorSdk::instance()->download(checked);
}

void VorPageSave::on_pushButtonRefresh_clicked()
{
    const QString prefix = ui->lineEdit->text().trimmed();
    VOR_LOG(3, prefix);
    VorSdk::instance()->refreshSave(prefix);
}

void VorPageSave::on_pushButtonMkDir_clicked()
{
    QString name;
    if (VorDialog::showRename(tr("新建文件夹"), tr("文件夹名称："), this, name, tr("确定"), tr("取消")) != 1)
        return;

    VorSdk *sdk = VorSdk::instance();
    const QString fullPath = VorData::instance()->path() + QLatin1Char('/') + name;
    VOR_LOG(3, fullPath);
    sdk->createDir(fullPath);
    if (sdk->backendHasError()) {
        VorDialog::showMessage(tr("失败"), tr("新建文件夹失败"), this, tr("确定"));
        return;
    }
    VorDialog::showMessage(tr("成功"), tr("新建文件夹成功"), this, tr("确定"));
    const QString path = VorData::instance()->path();
    sdk->getFileInfo(path, path);
}

void VorPageSave::on_tableWidget_cellClicked(int row, int column)
{
    VOR_LOG(3, row, column);
    if (row >= 0 && row < m_checkBoxes.size())
        m_checkBoxes.at(row)->click();
}
