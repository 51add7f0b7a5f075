#include "sdk/sdkobject.h"

#include <QJsonDocument>
#include <QSet>

#include <vector>

namespace {

bool isJsonSpace(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r');
}

QChar unescaped(QChar escape)
{
    switch (escape.unicode()) {
    case 'b':
        return QLatin1Char('\b');
    case 'f':
        return QLatin1Char('\f');
    case 'n':
        return QLatin1Char('\n');
    case 'r':
        return QLatin1Char('\r');
    case 't':
        return QLatin1Char('\t');
    default:
        return escape;
    }
}

// Reads the string whose opening quote is just before `at`, escapes resolved as the parser resolves them,
// so that "a" and "\u0061" count as one name. Returns the index of the closing quote (or the end).
int readJsonString(const QString &json, int at, QString *text)
{
    const int size = json.size();
    for (; at < size && json.at(at) != QLatin1Char('"'); ++at) {
        if (json.at(at) != QLatin1Char('\\') || at + 1 >= size) {
            text->append(json.at(at));
        } else if (json.at(++at) == QLatin1Char('u')) {
            *text += QChar(json.midRef(at + 1, 4).toUShort(nullptr, 16));
            at += 4;
        } else {
            text->append(unescaped(json.at(at)));
        }
    }
    return at;
}

// True when some object of the text names a member twice. Reads left to right and stops at the first
// repetition, so it also finds one in a document that turns out malformed further on, which the parser
// would already have read (and leaked) by then.
bool repeatsAName(const QString &json)
{
    struct Level
    {
        bool isObject;
        QSet<QString> names;
    };
    std::vector<Level> levels;
    const int size = json.size();
    for (int at = 0; at < size; ++at) {
        const QChar c = json.at(at);
        if (c == QLatin1Char('{') || c == QLatin1Char('[')) {
            levels.push_back({ c == QLatin1Char('{'), {} });
        } else if (c == QLatin1Char('}') || c == QLatin1Char(']')) {
            if (!levels.empty())
                levels.pop_back();
        } else if (c == QLatin1Char('"')) {
            QString text;
            at = readJsonString(json, at + 1, &text);
            int next = at + 1;
            while (next < size && isJsonSpace(json.at(next)))
                ++next;
            const bool isName = next < size && json.at(next) == QLatin1Char(':');
            if (isName && !levels.empty() && levels.back().isObject) {
                QSet<QString> &names = levels.back().names;
                if (names.contains(text))
                    return true;
                names.insert(text);
            }
        }
    }
    return false;
}

} // namespace

QJsonObject SdkObject::parseCodeJson(const QString &json)
{
    if (repeatsAName(json))
        return QJsonObject();
    return QJsonDocument::fromJson(json.toUtf8()).object();
}

void SdkObject::applyServerState(const ServerState &newState)
{
    state = newState;
    emit serverStateChanged(state);
}
