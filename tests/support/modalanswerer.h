#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

// Answers the program's modal dialogs from the event loop, in the order they open, as a user would:
// optionally types into the input line, then clicks the named button. It records what each dialog showed.
class ModalAnswerer : public QObject
{
    Q_OBJECT
public:
    struct Seen
    {
        QString title;
        QString text; // message, wait text or input prompt, whichever the dialog showed
        bool noButtonVisible = false;
    };

    explicit ModalAnswerer(QObject *parent = nullptr);

    // Queue an answer: "pushButtonYes", "pushButtonNo" or "pushButtonClose"; an empty name waits for
    // the dialog to close by itself (the wait dialog).
    void answer(const QString &button, const QString &typed = QString());
    int pending() const { return m_answers.size(); }
    const QList<Seen> &seen() const { return m_seen; }

private:
    void poll();

    struct Answer
    {
        QString button;
        QString typed;
    };
    QList<Answer> m_answers;
    QList<Seen> m_seen;
    QTimer m_timer;
    QObject *m_current = nullptr;
};
