#include "ui/vorfilepath.h"
#include "ui_vorfilepath.h"

#include "app/vorlog.h"
#include "ops/vorsdk.h"

namespace {

const int ShownLevels = 6;

// A folder name is shown as it is; "&" would otherwise turn the next letter into a shortcut.
QString buttonText(const QString &name)
{
    QString text = name;
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace

VorFilePath::VorFilePath(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorFilePath>())
{
    ui->setupUi(this);
    m_buttons = { ui->pushButton_1, ui->pushButton_2, ui->pushButton_3,
                  ui->pushButton_4, ui->pushButton_5, ui->pushButton_6 };
    m_labels = { ui->label_1, ui->label_2, ui->label_3, ui->label_4, ui->label_5, ui->label_6 };
    for (QPushButton *button : qAsConst(m_buttons))
        connect(button, &QPushButton::clicked, this, &VorFilePath::clickedDir);
    clear();
}

VorFilePath::~VorFilePath() = default;

void VorFilePath::clear()
{
    for (QPushButton *button : qAsConst(m_buttons))
        button->hide();
    for (QLabel *label : qAsConst(m_labels))
        label->hide();
}

void VorFilePath::setPath(const QString &path)
{
    VOR_LOG(3, path);
    clear();
    const QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const int start = parts.size() > ShownLevels ? parts.size() - ShownLevels : 0;
    QString levelPath;
    for (int i = 0; i < parts.size(); ++i) {
        // Hidden leading levels still belong to the full path of the shown ones.
        levelPath += QLatin1Char('/') + parts.at(i);
        if (i < start)
            continue;
        const int k = i - start;
        m_labels.at(k)->show();
        QPushButton *button = m_buttons.at(k);
        button->setText(buttonText(parts.at(i)));
        button->setToolTip(levelPath);
        button->setAccessibleName(tr("转到 %1").arg(levelPath));
        button->show();
    }
}

void VorFilePath::clickedDir()
{
    auto *button = qobject_cast<QPushButton *>(sender());
    if (!button)
        return;
    VOR_LOG(3, button->toolTip());
    VorSdk::instance()->getFileInfo(button->toolTip(), QString());
}
