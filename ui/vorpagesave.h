#pragma once

#include <QWidget>

// Placeholder until the page lands.
class VorPageSave : public QWidget
{
    Q_OBJECT
public:
    explicit VorPageSave(QWidget *parent = nullptr);

public slots:
    void setPath(const QString &path);
    void dataUpdateSaveFileInfo();
    void dataUpdateLocation(bool pub, bool pri);
};
