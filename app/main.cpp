#include "app/vorlog.h"
#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "sdk/sdksftp.h"

#include <QApplication>
#include <QTranslator>

int qMain(int argc, char *argv[])
{
    // Installed before the application exists, so that every later Qt message passes through the log.
    qInstallMessageHandler(vorMessageHandler);
    followScreenScale();
    QApplication app(argc, argv);
    app.setStyleSheet(QStringLiteral("file:///:/qss/ombrivane.css"));

    QTranslator translator;
    if (translator.load(QStringLiteral(":/qm/qtbase_zh_CN.qm")))
        app.installTranslator(&translator);

    const int sshStatus = SdkSftp::init();
    if (sshStatus != 0)
        return sshStatus;

    VOR_LOG(3, "ombrivane start");
    VorData::instance()->loginDialog()->show();
    const int result = app.exec();
    VOR_LOG(3, "ombrivane end", result);

    SdkSftp::exit();
    return result;
}

#ifndef OMBRIVANE_NO_ENTRY_POINT
int main(int argc, char *argv[])
{
    return qMain(argc, argv);
}
#endif
