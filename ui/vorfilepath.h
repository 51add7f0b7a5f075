#pragma once

#include <QList>
#include <QWidget>
#include <memory>

class QLabel;
class QPushButton;

namespace Ui {
class VorFilePath;
}

// The path bar: the last six levels of the open remote folder, each a button that lists its folder.
class VorFilePath : public QWidget
{
    Q_OBJECT
public:
    explicit VorFilePath(QWidget *parent = nullptr);
    ~VorFilePath() override;

    void setPath(const QString &path);

private slots:
    void clickedDir();

private:
    void clear();

    std::unique_ptr<Ui::VorFilePath> ui;
    QList<QPushButton *> m_buttons;
    QList<QLabel *> m_labels;
};
