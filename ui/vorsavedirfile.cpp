#include "ui/vorsavedirfile.h"
#include "ui_vorsavedirfile.h"

#include "app/vorlog.h"
#include "ops/vorsdk.h"
#include "ui/tablefill.h"

#include <QMouseEvent>

VorSaveDirFile::VorSaveDirFile(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorSaveDirFile>())
{
    ui->setupUi(this);
    ui->widgetDirFile->installEventFilter(this);
}

VorSaveDirFile::~VorSaveDirFile() = default;

void VorSaveDirFile::setDirFile(const QString &name, bool isDir)
{
    ui->label->setText(name);
    ui->widgetDir->setVisible(isDir);
    ui->widgetFile->setVisible(!isDir);
    m_isDir = isDir;
    // The cell may have shown a folder for another row before.
    if (isDir)
        ui->widgetDirFile->setCursor(Qt::PointingHandCursor);
    else
        ui->widgetDirFile->unsetCursor();
}

// A release after dragging off the name, or of another button, is not a click on the folder.
bool VorSaveDirFile::isLeftClickInside(const QMouseEvent *event) const
{
    return event->button() == Qt::LeftButton && ui->widgetDirFile->rect().contains(event->pos());
}

bool VorSaveDirFile::eventFilter(QObject *watched, QEvent *event)
{
    if (m_isDir && watched == ui->widgetDirFile && event->type() == QEvent::MouseButtonRelease
        && isLeftClickInside(static_cast<QMouseEvent *>(event))) {
        VOR_LOG(3, ui->label->text());
        // The listing that follows replaces this row while this filter still runs.
        setProperty(TableFill::CellBusyProperty, true);
        VorSdk::instance()->EnterDir(ui->label->text());
        setProperty(TableFill::CellBusyProperty, false);
    }
    return QWidget::eventFilter(watched, event);
}
