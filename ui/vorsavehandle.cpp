#include "ui/vorsavehandle.h"
#include "ui_vorsavehandle.h"

#include "app/vorlog.h"
#include "model/fileentry.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "ui/keys.h"
#include "ui/tablefill.h"
#include "ui/vordialog.h"

#include <QClipboard>
#include <QGuiApplication>

namespace {

QString pathInCurrentFolder(const QString &name)
{
    return VorData::instance()->path() + QLatin1Char('/') + name;
}

} // namespace

VorSaveHandle::VorSaveHandle(FileEntry *entry, QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorSaveHandle>())
    , m_entry(entry)
{
    ui->setupUi(this);
    ui->pushButtonCopy->hide(); // links are not offered in this version
    Keys::showInToolTip(ui->pushButtonRename, Keys::RenameRow);
    Keys::showInToolTip(ui->pushButtonDelete, Keys::DeleteRows);
    setEntry(entry);
}

void VorSaveHandle::setEntry(FileEntry *entry)
{
    m_entry = entry;
    TableFill::nameRowControls(this, m_entry->name);
    // The parent folder is not an object of this folder.
    ui->widgetHandle->setVisible(m_entry->name != QLatin1String(".."));
}

VorSaveHandle::~VorSaveHandle() = default;

void VorSaveHandle::on_pushButtonDown_clicked()
{
    VOR_LOG(3, m_entry->id, m_entry->name);
    VorSdk::instance()->download(m_entry->id);
}

void VorSaveHandle::on_pushButtonDelete_clicked()
{
    VOR_LOG(3, m_entry->name);
    const int answer
        = VorDialog::showChoice(tr("删除"), tr("确认删除%1").arg(m_entry->name), window(), tr("确定"), tr("取消"));
    if (answer != 1)
        return;
    VorSdk::instance()->deleteFile(pathInCurrentFolder(m_entry->name));
}

void VorSaveHandle::on_pushButtonRename_clicked()
{
    VOR_LOG(3, m_entry->name);
    QString text;
    const int answer
        = VorDialog::showRename(tr("重命名"), tr("重命名%1").arg(QString()), window(), text, tr("确定"), tr("取消"));
    if (answer != 1)
        return;

    VorSdk *sdk = VorSdk::instance();
    sdk->renameFile(pathInCurrentFolder(m_entry->name), pathInCurrentFolder(text));
    if (sdk->backendHasError()) {
        VorDialog::showMessage(tr("错误"), sdk->backendLastError(), window(), tr("确定"));
        return;
    }
    VorDialog::showMessage(tr("成功"), tr("改名成功"), window(), tr("确定"));
    // The new listing replaces this row and frees its entry while this slot still runs: the entry is not
    // used after this call.
    const QString path = VorData::instance()->path();
    setProperty(TableFill::CellBusyProperty, true);
    sdk->getFileInfo(path, path);
    setProperty(TableFill::CellBusyProperty, false);
}

void VorSaveHandle::on_pushButtonCopy_clicked()
{
    VOR_LOG(3, m_entry->link);
    QGuiApplication::clipboard()->setText(m_entry->link, QClipboard::Clipboard);
}
