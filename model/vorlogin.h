#pragma once

#include <QWidget>

// Placeholder login dialog until the real one lands.
class VorLogin : public QWidget
{
    Q_OBJECT
public:
    explicit VorLogin(QWidget *parent = nullptr);
};
