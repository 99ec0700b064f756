#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QLocalSocket>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>

namespace kestrane::desktop {

/// The line to the driver: what its windows are, and what a person does with them. docs/mirror.md tells the protocol.
class Mirror final : public QObject {
    Q_OBJECT

public:
    using Answer = std::function<void(bool heard)>;

    explicit Mirror(QObject* parent = nullptr);
    /// Answers that have not come never come.
    ~Mirror() override;

    /// Connects to the driver that serves at this path of the file system as soon as there is one, and again when it
    /// was lost: a try each second.
    void ConnectTo(const QString& path);
    /// Takes over a connected socket, the only one that there will be. Returns whether it is one.
    bool Adopt(qintptr socket);

    bool IsOpen() const { return isOpen_; }
    /// Differs for each run of the driver.
    const QString& Process() const { return process_; }

    void Send(const QJsonObject& report);
    /// Sends what a person did; `answer` is called once. Why it was refused comes by `Refused`.
    void Act(QJsonObject report, Answer answer = {});
    void Hold(QJsonObject report, Answer answer);
    void Release();
    void Stop(Answer answer);

Q_SIGNALS:
    void Opened();
    /// `why` as in "end"; empty where the driver did not say.
    void Closed(const QString& why);
    void Snapshot(const QJsonArray& forms);
    void Changes(const QJsonArray& changes);
    void Lines(const QString& stream, int first, const QJsonArray& lines);
    /// The driver has ended the hold.
    void HoldEnded();
    void Refused(const QString& why);

private:
    void OpenAgain();
    void Read();
    void Take(const QJsonObject& message);
    void TakeWelcome(const QJsonObject& message);
    void TakeBeat(int beat);
    void AnswerTo(const QJsonObject& message, bool heard);
    void Lost();
    void LookForSilence();

    QLocalSocket socket_;
    QString path_;
    QTimer again_;
    QTimer silence_;
    QElapsedTimer sinceHeard_;
    QHash<int, Answer> waiting_;
    QString process_;
    QString endedBy_;
    int beat_ = 0;
    int lastId_ = 0;
    int lastHold_ = 0;
    int held_ = 0;  ///< 0: nothing
    bool isOpen_ = false;
};

}  // namespace kestrane::desktop
