#pragma once

#include "model/fileentry.h"

#include <QList>

#include <QWidget>
#include <memory>

class QAction;
class QMenu;
class QTableWidgetItem;
class PageTable;
class SCheckBoxHeaderView;

namespace Ui {
class VorPageSave;
}

// The storage page: the open remote folder as a table with a check box per row, the path bar, search,
// new folder, upload and download. It shows the store's listing and acts only through the facade.
class VorPageSave : public QWidget
{
    Q_OBJECT
public:
    explicit VorPageSave(QWidget *parent = nullptr);
    ~VorPageSave() override;

    void resizeTable();

public slots:
    void setPath(const QString &path);
    void dataUpdateSaveFileInfo();
    void dataUpdateLocation(bool pub, bool pri);
    void checkStausChange(bool checked);
    void actionFile();
    void actionDir();

private slots:
    void on_pushButtonUp_clicked();
    void on_pushButtonDown_clicked();
    void on_pushButtonRefresh_clicked();
    void on_pushButtonMkDir_clicked();
    void on_tableWidget_cellClicked(int row, int column);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void buildUploadMenu();
    void bindKeys();
    void openCurrentFolder();
    void deleteCheckedOrCurrent();
    void redrawTable();
    void fillRow(int row, FileEntry *entry);
    void buildRow(int row);
    void rebindRow(int row, const QVector<QWidget *> &cells);

    std::unique_ptr<Ui::VorPageSave> ui;
    SCheckBoxHeaderView *m_header = nullptr;
    QMenu *m_menuUpload = nullptr;
    QAction *m_actionFile = nullptr;
    QAction *m_actionDir = nullptr;
    QList<FileEntry *> m_entries; // the store's records shown in the rows, in row order
    PageTable *m_table = nullptr;
};
