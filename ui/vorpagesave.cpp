#include "ui/vorpagesave.h"
#include "ui_vorpagesave.h"

#include "app/vorlog.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "ui/keys.h"
#include "ui/pagetable.h"
#include "ui/scheckboxheaderview.h"
#include "ui/vordialog.h"
#include "ui/vorsavedirfile.h"
#include "ui/vorsavehandle.h"

#include <QFileDialog>
#include <QMenu>
#include <QScrollBar>

namespace {

enum Column { CheckColumn, NameColumn, StorageColumn, SizeColumn, ModifiedColumn, HandleColumn };

const int UploadMenuWidth = 160;
const char DateFormat[] = "yyyy/MM/dd HH:mm:ss";
const QLatin1String ParentFolder("..");

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

    m_table = new PageTable(
        ui->tableWidget, { NameColumn, { CheckColumn, NameColumn, HandleColumn } }, [this](int row) { buildRow(row); },
        [this](int row, const QVector<QWidget *> &cells) { rebindRow(row, cells); }, [this] { resizeTable(); }, this);
    // The parent folder's row only opens.
    m_table->setRowsThatCheck([this](int row) { return m_entries.at(row)->name != ParentFolder; });
    buildUploadMenu();
    bindKeys();
}

// Keys as in the Windows file explorer, each doing what its button or click does.
void VorPageSave::bindKeys()
{
    QTableWidget *table = ui->tableWidget;
    const QKeySequence refresh(Qt::Key_F5), newFolder(Qt::CTRL | Qt::SHIFT | Qt::Key_N), find(QKeySequence::Find);
    Keys::inView(this, { refresh }, [this] { ui->pushButtonRefresh->click(); });
    Keys::inView(this, { newFolder }, [this] { ui->pushButtonMkDir->click(); });
    Keys::inView(this, { find, Qt::Key_F3 }, [this] {
        ui->lineEdit->setFocus(Qt::ShortcutFocusReason);
        ui->lineEdit->selectAll();
    });
    // Up one level, as the path bar's parent level: nothing above the root.
    Keys::inView(this, { Qt::ALT | Qt::Key_Up }, [] { VorSdk::instance()->EnterDir(ParentFolder); });
    Keys::inWidget(table, { Qt::Key_Backspace }, [] { VorSdk::instance()->EnterDir(ParentFolder); });
    Keys::inWidget(table, { Qt::Key_Return, Qt::Key_Enter }, [this] { openCurrentFolder(); });
    Keys::inWidget(table, { Keys::RenameRow },
                   [this] { m_table->clickInCurrentRow(HandleColumn, QStringLiteral("pushButtonRename")); });
    Keys::inWidget(table, { Keys::DeleteRows }, [this] { deleteCheckedOrCurrent(); });
    // Return in the search box searches as the refresh button does; Escape gives up the search.
    connect(ui->lineEdit, &QLineEdit::returnPressed, this, &VorPageSave::on_pushButtonRefresh_clicked);
    Keys::inWidget(ui->lineEdit, { Qt::Key_Escape }, [this, table] {
        ui->lineEdit->clear();
        table->setFocus(Qt::ShortcutFocusReason);
    });
    Keys::showInToolTip(ui->pushButtonRefresh, refresh);
    Keys::showInToolTip(ui->pushButtonMkDir, newFolder);
}

// Enter on a folder's row opens it, as a click on its name does.
void VorPageSave::openCurrentFolder()
{
    const int row = m_table->currentRow();
    if (row >= 0 && m_entries.at(row)->isDir)
        VorSdk::instance()->EnterDir(m_entries.at(row)->name);
}

// Delete asks for the checked rows when there are any, as one question; otherwise the current row's delete
// button asks for its row.
void VorPageSave::deleteCheckedOrCurrent()
{
    QStringList names;
    for (int row : m_table->rows().checkedRows(m_entries.size())) {
        if (m_entries.at(row)->name != ParentFolder)
            names << m_entries.at(row)->name;
    }
    if (names.isEmpty()) {
        m_table->clickInCurrentRow(HandleColumn, QStringLiteral("pushButtonDelete"));
        return;
    }
    VOR_LOG(3, names);
    if (VorDialog::showChoice(tr("删除"), tr("确认删除%1").arg(names.join(tr("、"))), this, tr("确定"), tr("取消"))
        != 1)
        return;
    const QString folder = VorData::instance()->path() + QLatin1Char('/');
    for (const QString &name : qAsConst(names))
        VorSdk::instance()->deleteFile(folder + name);
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
    VOR_LOG(3, VorLog::boolText(pub), VorLog::boolText(pri));
    ui->widgetLocation->setPublicVisible(pub);
    ui->widgetLocation->setPrivateVisible(pri);
}

void VorPageSave::dataUpdateSaveFileInfo()
{
    m_table->request([this] { redrawTable(); });
}

void VorPageSave::redrawTable()
{
    m_entries = VorData::instance()->fileInfos();
    VOR_LOG(3, m_entries.size());
    m_table->refill(m_entries.size(), [this](int row) { fillRow(row, m_entries.at(row)); });
}

// The text columns of every row; the cell widgets follow when the row comes into view.
void VorPageSave::fillRow(int row, FileEntry *entry)
{
    QTableWidget *table = ui->tableWidget;
    table->setItem(row, StorageColumn, TableFill::centredItem(entry->storageClass));
    table->setItem(row, SizeColumn, TableFill::centredItem(entry->size));
    table->setItem(row, ModifiedColumn, TableFill::centredItem(entry->modified.toString(QLatin1String(DateFormat))));
}

void VorPageSave::buildRow(int row)
{
    QTableWidget *table = ui->tableWidget;
    FileEntry *entry = m_entries.at(row);
    QWidget *checkCell = m_table->rows().makeCheckCell(row);
    TableFill::nameRowControls(checkCell, entry->name);
    table->setCellWidget(row, CheckColumn, checkCell);
    auto *dirFile = new VorSaveDirFile(table);
    dirFile->setDirFile(entry->name, entry->isDir);
    table->setCellWidget(row, NameColumn, dirFile);
    table->setCellWidget(row, HandleColumn, new VorSaveHandle(entry, table));
}

void VorPageSave::rebindRow(int row, const QVector<QWidget *> &cells)
{
    FileEntry *entry = m_entries.at(row);
    TableFill::nameRowControls(cells.at(CheckColumn), entry->name);
    static_cast<VorSaveDirFile *>(cells.at(NameColumn))->setDirFile(entry->name, entry->isDir);
    static_cast<VorSaveHandle *>(cells.at(HandleColumn))->setEntry(entry);
}

void VorPageSave::resizeTable()
{
    QTableWidget *table = ui->tableWidget;
    // Out of sight the columns would be measured by every row; they are sized when the page is shown.
    if (!table->isVisible())
        return;
    const QScrollBar *bar = table->verticalScrollBar();
    VOR_LOG(3, bar->width(), VorLog::boolText(bar->isVisible()));
    // The stretched last column would otherwise count with the room it was given last time, not with
    // what its buttons need, and keep that room from the name column.
    m_header->setStretchLastSection(false);
    TableFill::fitNameColumn(table, NameColumn, TableFill::CheckColumnWidth);
    m_header->setStretchLastSection(true);
}

void VorPageSave::resizeEvent(QResizeEvent *event)
{
    resizeTable();
    QWidget::resizeEvent(event);
}

void VorPageSave::checkStausChange(bool checked)
{
    VOR_LOG(3, VorLog::boolText(checked));
    m_table->rows().setAllChecked(checked);
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
    for (int row : m_table->rows().checkedRows(entries.size()))
        checked.append(entries.at(row));
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
    if (row >= 0 && row < m_table->rows().count())
        m_table->rows().clickCheckBox(row);
}
