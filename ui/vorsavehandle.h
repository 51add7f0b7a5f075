#pragma once

#include <QWidget>
#include <memory>

struct FileEntry;

namespace Ui {
class VorSaveHandle;
}

// Action cell of a storage row: download, delete, rename and (hidden) copy link for one entry. The entry
// belongs to the store and stays valid for the life of the row.
class VorSaveHandle : public QWidget
{
    Q_OBJECT
public:
    explicit VorSaveHandle(FileEntry *entry, QWidget *parent = nullptr);
    ~VorSaveHandle() override;

    // Makes the cell act for another entry, when the table gives it to another row.
    void setEntry(FileEntry *entry);

private slots:
    void on_pushButtonDown_clicked();
    void on_pushButtonDelete_clicked();
    void on_pushButtonCopy_clicked();
    void on_pushButtonRename_clicked();

private:
    std::unique_ptr<Ui::VorSaveHandle> ui;
    FileEntry *m_entry = nullptr;
};
