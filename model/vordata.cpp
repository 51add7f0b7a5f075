#include "model/vordata.h"

#include "app/vorlog.h"
#include "app/vormain.h"
#include "model/vorlogin.h"
#include "ui/vorpagedownload.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

namespace {

// The pages draw every stored record, so a null entry handed in is left out rather than stored.
template<typename Record> QList<Record *> withoutNulls(QList<Record *> records)
{
    records.removeAll(nullptr);
    return records;
}

template<typename Record> void replaceRecords(QList<Record *> &stored, const QList<Record *> &incoming)
{
    qDeleteAll(stored);
    stored.clear();
    stored = withoutNulls(incoming);
}

} // namespace

VorData::VorData(QObject *parent)
    : QObject(parent)
    , m_login(new VorLogin)
    , m_main(new VorMain)
{
    connectWindows();
}

VorData::~VorData()
{
    // The two windows outlive the application object at process exit and are left alone; the records
    // are plain data and are freed.
    qDeleteAll(m_fileInfos);
    qDeleteAll(m_tasks);
    qDeleteAll(m_downloads);
}

VorData *VorData::instance()
{
    static VorData data;
    return &data;
}

void VorData::connectWindows()
{
    connect(this, &VorData::dataUpdateUser, m_main, &VorMain::dataUpdateUser);
    connect(this, &VorData::dataUpdatePath, m_main, &VorMain::dataUpdatePath);

    VorPageSave *save = m_main->pageSave();
    connect(this, &VorData::dataUpdateSaveFileInfo, save, &VorPageSave::dataUpdateSaveFileInfo);
    connect(this, &VorData::dataUpdateLocation, save, &VorPageSave::dataUpdateLocation);

    VorPageTask *task = m_main->pageTask();
    connect(this, &VorData::dataUpdateTaskInfo, task, &VorPageTask::dataUpdateTaskInfo);
    connect(this, &VorData::dataUpdateLocation, task, &VorPageTask::dataUpdateLocation);

    connect(this, &VorData::dataUpdateDownloadInfo, m_main->pageDownload(), &VorPageDownload::dataUpdateDownloadInfo);
}

void VorData::updateFilePath(const QString &path)
{
    VOR_LOG(3, path);
    m_path = path;
    emit dataUpdatePath(path);
}

void VorData::updateSaveLocation(bool pub, bool pri)
{
    VOR_LOG(3, VorLog::boolText(pub), VorLog::boolText(pri));
    m_pub = pub;
    m_pri = pri;
    emit dataUpdateLocation(pub, pri);
}

void VorData::updateUser(const QString &name, int days, bool show)
{
    VOR_LOG(3, name, days, VorLog::boolText(show));
    m_userName = name;
    m_validDays = days;
    m_showTips = show;
    const QString tips = getUserTips();
    emit dataUpdateUser(m_userName, tips);
}

QString VorData::getUserTips()
{
    QString tips;
    if (m_showTips)
        tips = tr("您的授权码有效期还有 %1 天，到期后若需要继续使用请联系业务管理员").arg(m_validDays);
    VOR_LOG(3, tips);
    return tips;
}

void VorData::updateSaveFileInfo(const QList<FileEntry *> &list)
{
    VOR_LOG(3, list.size());
    replaceRecords(m_fileInfos, list);
    emit dataUpdateSaveFileInfo();
}

void VorData::updateTaskInfo(const QList<TaskInfo *> &list)
{
    VOR_LOG(3, list.size());
    replaceRecords(m_tasks, list);
    emit dataUpdateTaskInfo();
}

void VorData::updateDownloadInfo(const QList<DownloadInfo *> &list)
{
    VOR_LOG(3, list.size());
    replaceRecords(m_downloads, list);
    emit dataUpdateDownloadInfo();
}

void VorData::addTaskInfo(const QList<TaskInfo *> &list)
{
    VOR_LOG(3, list.size());
    m_tasks.append(withoutNulls(list));
    if (!m_tasks.isEmpty())
        emit dataUpdateTaskInfo();
}

void VorData::updateTaskInfo(TaskInfo *task)
{
    VOR_LOG(3, task->name);
    for (int i = 0; i < m_tasks.size(); ++i) {
        TaskInfo *old = m_tasks.at(i);
        if (old && old->id == task->id) {
            m_tasks.replace(i, task);
            delete old;
            return; // the pages are redrawn by whoever asked for the change
        }
    }
}

void VorData::deleteTaskInfo(int id)
{
    VOR_LOG(3, id);
    for (int i = 0; i < m_tasks.size(); ++i) {
        if (m_tasks.at(i) && m_tasks.at(i)->id == id) {
            m_tasks.removeAt(i); // forgotten, not freed: the caller may still hold it
            emit dataUpdateTaskInfo();
            return;
        }
    }
}

void VorData::removeFileInfo(int id)
{
    for (int i = 0; i < m_fileInfos.size(); ++i) {
        if (m_fileInfos.at(i) && m_fileInfos.at(i)->id == id) {
            delete m_fileInfos.takeAt(i);
            return;
        }
    }
}
