#include "ops/vorsdk.h"
#include "sdk/sdkobject.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace {

volatile int sink = 0;

void quietHandler(QtMsgType, const QMessageLogContext &, const QString &) { }

// What the login does with the decoded text, short of connecting: parse, pick the back end, let the
// object-store back end read its keys.
void selectAndParse(const QString &json)
{
    const QJsonObject object = SdkObject::parseCodeJson(json);
    const VorSdk::Storage storage = VorSdk::storageOf(object);
    if (storage != VorSdk::Storage::Tarn) {
        sink = sink + static_cast<int>(storage);
        return;
    }
    const std::unique_ptr<SdkObject> backend(VorSdk::createBackend(storage));
    backend->parseAuthCode(json);
    sink = sink + backend->validDays() + backend->userName().size() + backend->homePath().size()
        + backend->projectName().size();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qInstallMessageHandler(quietHandler);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));

    // A pasted code, as the dialog hands it over.
    const QString code = QString::fromUtf8(bytes).simplified();
    selectAndParse(VorSdk::decodeAuthCode(code));

    // The same bytes taken as the decoded text itself (Latin-1, as the decoding yields it), so that
    // documents the fuzzer finds without two base64 layers reach the parser too.
    const int end = bytes.indexOf('\0');
    selectAndParse(QString::fromLatin1(end < 0 ? bytes : bytes.left(end)));
    return 0;
}
