#pragma once

#include <QWidget>

// Placeholder until the page lands.
class VorPageTask : public QWidget
{
    Q_OBJECT
public:
    explicit VorPageTask(QWidget *parent = nullptr);

public slots:
    void dataUpdateTaskInfo();
    void dataUpdateLocation(bool pub, bool pri);
};
