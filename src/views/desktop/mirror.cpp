#include "views/desktop/mirror.h"

#include <QJsonDocument>
#include <utility>

namespace kestrane::desktop {
namespace {

constexpr int kProtocol = 1;
constexpr int kAgainMs = 1000;
constexpr int kSilenceMs = 2000;  // beats come four times a second
constexpr int kLookMs = 500;
constexpr int kAnswerMs = 1000;

}  // namespace

Mirror::Mirror(QObject* parent) : QObject(parent) {
    connect(&socket_, &QLocalSocket::readyRead, this, &Mirror::Read);
    connect(&socket_, &QLocalSocket::disconnected, this, &Mirror::Lost);
    again_.setInterval(kAgainMs);
    connect(&again_, &QTimer::timeout, this, &Mirror::OpenAgain);
    silence_.setInterval(kLookMs);
    connect(&silence_, &QTimer::timeout, this, &Mirror::LookForSilence);
    silence_.start();
}

Mirror::~Mirror() {
    socket_.disconnect(this);  // it would tell of its end when half of this is gone
}

void Mirror::ConnectTo(const QString& path) {
    path_ = path;
    again_.start();
    OpenAgain();
}

bool Mirror::Adopt(qintptr socket) {
    return socket_.setSocketDescriptor(socket);
}

void Mirror::OpenAgain() {
    if (socket_.state() == QLocalSocket::UnconnectedState) {
        socket_.connectToServer(path_);
    }
}

void Mirror::Read() {
    while (socket_.canReadLine()) {
        sinceHeard_.start();
        Take(QJsonDocument::fromJson(socket_.readLine()).object());
    }
}

void Mirror::Take(const QJsonObject& message) {
    const QString type = message["type"].toString();
    if (type == "welcome") {
        TakeWelcome(message);
    } else if (type == "beat") {
        TakeBeat(message["beat"].toInt());
    } else if (type == "heard" || type == "refused") {
        AnswerTo(message, type == "heard");
    } else if (type == "snapshot") {
        Q_EMIT Snapshot(message["forms"].toArray());
    } else if (type == "changes") {
        Q_EMIT Changes(message["changes"].toArray());
    } else if (type == "lines") {
        Q_EMIT Lines(message["stream"].toString(), message["first"].toInt(), message["lines"].toArray());
    } else if (type == "released") {
        if (message["hold"].toInt() == held_) {
            held_ = 0;
            Q_EMIT HoldEnded();
        }
    } else if (type == "end") {
        endedBy_ = message["why"].toString();
    }
}

void Mirror::TakeWelcome(const QJsonObject& message) {
    if (message["protocol"].toInt() != kProtocol) {
        Q_EMIT Refused(tr("This program is older or newer than the driver."));
        endedBy_ = "version";
        again_.stop();
        socket_.abort();
        return;
    }
    isOpen_ = true;
    endedBy_.clear();
    process_ = message["process"].toString();
    Q_EMIT Opened();
}

void Mirror::TakeBeat(int beat) {
    beat_ = beat;
    QJsonObject answer{{"do", "beat"}, {"beat", beat_}};
    if (held_ != 0) {
        answer["hold"] = held_;
    }
    Send(answer);
}

void Mirror::AnswerTo(const QJsonObject& message, bool heard) {
    const Answer answer = waiting_.take(message["id"].toInt());
    if (!heard) {
        Q_EMIT Refused(message["why"].toString());
    }
    if (answer) {
        answer(heard);
    }
}

void Mirror::Send(const QJsonObject& report) {
    if (isOpen_) {
        socket_.write(QJsonDocument(report).toJson(QJsonDocument::Compact) + '\n');
    }
}

void Mirror::Act(QJsonObject report, Answer answer) {
    if (!isOpen_) {
        Q_EMIT Refused(tr("The driver is not there."));
        if (answer) {
            answer(false);
        }
        return;
    }
    report["id"] = ++lastId_;
    report["beat"] = beat_;
    if (answer) {
        waiting_.insert(lastId_, std::move(answer));
    }
    Send(report);
}

void Mirror::Hold(QJsonObject report, Answer answer) {
    const int hold = ++lastHold_;
    held_ = hold;
    report["do"] = "hold";
    report["hold"] = hold;
    // A refusal that comes late means this hold, and not the one that is down by now.
    Act(std::move(report), [this, hold, answer = std::move(answer)](bool heard) {
        const bool isThis = held_ == hold;
        if (!heard && isThis) {
            held_ = 0;
        }
        if (isThis && answer) {
            answer(heard);
        }
    });
}

void Mirror::Release() {
    if (held_ != 0) {
        Send({{"do", "release"}, {"hold", held_}});
        held_ = 0;
    }
}

void Mirror::Stop(Answer answer) {
    Release();
    if (!isOpen_) {
        answer(false);
        return;
    }
    const int id = ++lastId_;
    waiting_.insert(id, std::move(answer));
    Send({{"do", "stop"}, {"id", id}});
    QTimer::singleShot(kAnswerMs, this, [this, id] {
        if (const Answer late = waiting_.take(id)) {
            late(false);
        }
    });
}

/// What the windows showed last is not the truth any more.
void Mirror::Lost() {
    if (!std::exchange(isOpen_, false) && endedBy_.isEmpty()) {
        return;
    }
    held_ = 0;
    for (const Answer& answer : std::exchange(waiting_, {})) {
        answer(false);
    }
    Q_EMIT Closed(std::exchange(endedBy_, QString()));
}

/// A driver that hangs, or a machine that slept, leaves a line on which nothing comes.
void Mirror::LookForSilence() {
    if (isOpen_ && sinceHeard_.elapsed() > kSilenceMs) {
        socket_.abort();
        Lost();
    }
}

}  // namespace kestrane::desktop
