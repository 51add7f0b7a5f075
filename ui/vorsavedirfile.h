#pragma once

#include <QWidget>
#include <memory>

class QMouseEvent;

namespace Ui {
class VorSaveDirFile;
}

// Name cell of the storage table: folder or file picture and the name; a folder's name opens it.
class VorSaveDirFile : public QWidget
{
    Q_OBJECT
public:
    explicit VorSaveDirFile(QWidget *parent = nullptr);
    ~VorSaveDirFile() override;

    void setDirFile(const QString &name, bool isDir);
    bool isDir() const { return m_isDir; }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isLeftClickInside(const QMouseEvent *event) const;

    std::unique_ptr<Ui::VorSaveDirFile> ui;
    bool m_isDir = false;
};
