#pragma once

#include "model/downloadinfo.h"
#include "model/fileentry.h"
#include "model/taskinfo.h"

#include <QList>
#include <QObject>
#include <QString>

class VorLogin;
class VorMain;

// The one session store: who is signed in, which folder is open and the rows the three pages show.
// It owns every record in its lists; replacing a list frees the records of the old one.
class VorData : public QObject
{
    Q_OBJECT
public:
    // Builds the two windows on first use, so that use must be on the GUI thread; the entry point makes it.
    static VorData *instance();
    ~VorData() override;

    VorLogin *loginDialog() const { return m_login; }
    VorMain *mainWindow() const { return m_main; }

    QString userName() const { return m_userName; }
    int validDays() const { return m_validDays; }
    bool showTips() const { return m_showTips; }
    QString path() const { return m_path; }
    bool isPublic() const { return m_pub; }
    bool isPrivate() const { return m_pri; }
    const QList<FileEntry *> &fileInfos() const { return m_fileInfos; }
    const QList<TaskInfo *> &tasks() const { return m_tasks; }
    const QList<DownloadInfo *> &downloads() const { return m_downloads; }

    void updateFilePath(const QString &path);
    void updateSaveLocation(bool pub, bool pri);
    void updateUser(const QString &name, int days, bool show);
    QString getUserTips();
    void updateSaveFileInfo(const QList<FileEntry *> &list);
    void updateTaskInfo(const QList<TaskInfo *> &list);
    void updateDownloadInfo(const QList<DownloadInfo *> &list);
    void addTaskInfo(const QList<TaskInfo *> &list);
    void updateTaskInfo(TaskInfo *task);
    void deleteTaskInfo(int id);
    void removeFileInfo(int id);

signals:
    void dataUpdateUser(QString name, QString tips);
    void dataUpdatePath(QString path);
    void dataUpdateSaveFileInfo();
    void dataUpdateLocation(bool pub, bool pri);
    void dataUpdateTaskInfo();
    void dataUpdateDownloadInfo();

private:
    explicit VorData(QObject *parent = nullptr);
    void connectWindows();

    VorLogin *m_login = nullptr;
    VorMain *m_main = nullptr;
    QString m_userName;
    int m_validDays = 0;
    bool m_showTips = false;
    QString m_path;
    QList<FileEntry *> m_fileInfos;
    bool m_pub = false;
    bool m_pri = false;
    QList<TaskInfo *> m_tasks;
    QList<DownloadInfo *> m_downloads;
};
