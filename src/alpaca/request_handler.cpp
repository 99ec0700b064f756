#include "alpaca/request_handler.h"

#include <algorithm>
#include <exception>
#include <optional>

#include "alpaca/parameter_values.h"
#include "http/request_parameters.h"
#include "kernel/base/errors.h"

namespace kestrane::alpaca {

void RequestHandler::Handle(const http::Request& request, const http::AnswerFunction& answer) {
    if (IsDevicePath(request.path)) {
        HandleDevice(request, answer);
    } else if (request.verb == http::Verb::Get) {
        HandleManagement(request, answer);
    } else {
        answer(http::RefusalAnswer(400, "There is no such path."));
    }
}

std::uint32_t RequestHandler::NextTransaction() {
    lastServerTransaction_ = lastServerTransaction_ == UINT32_MAX ? 1 : lastServerTransaction_ + 1;
    return lastServerTransaction_;
}

void RequestHandler::NoteActivity() {
    TellObjects([](ClientObjects& objects) { objects.NoteActivity(); });
}

void RequestHandler::HandleManagement(const http::Request& request, const http::AnswerFunction& answer) {
    NoteActivity();
    const std::optional<std::string> value = needs_.management.ValueOf(request.path);
    const std::optional<http::RequestParameters> parameters = http::RequestParameters::Parse(request.query);
    if (!value) {
        answer(http::RefusalAnswer(400, "There is no such path."));
    } else if (!parameters) {
        answer(http::RefusalAnswer(400, "There are too many parameters."));
    } else {
        const std::uint32_t transaction = ParseId(parameters->Find("ClientTransactionID", http::NameMatch::AnyCase));
        answer(ValueAnswer({transaction, NextTransaction()}, *value));
    }
}

void RequestHandler::HandleDevice(const http::Request& request, const http::AnswerFunction& answer) {
    try {
        DeviceRequest device = ReadDeviceRequest(request, needs_.routes);
        needs_.setHolder(request.connection, request.remoteAddress + " " + std::to_string(device.key.client.clientId));
        if (!JoinRunningPut(device, request.connection, answer) &&
            !AnswerFromMemory(device, request.connection, answer)) {
            StartCall(std::move(device), request.connection, answer);
        }
    } catch (const RequestRefused& refused) {
        answer(http::RefusalAnswer(400, refused.what()));
    }
}

bool RequestHandler::JoinRunningPut(const DeviceRequest& request, http::ConnectionId connection,
                                    const http::AnswerFunction& answer) {
    const auto running = std::ranges::find_if(underWay_, [&](const auto& entry) {
        const CallUnderWay& call = entry.second;
        return !request.putIdentity.empty() && call.putIdentity == request.putIdentity &&
               needs_.connectionIsGone(call.connection);
    });
    if (running == underWay_.end()) {
        return false;
    }
    running->second.connection = connection;
    running->second.answers.push_back(answer);
    NoteClient(request, connection);
    return true;
}

void RequestHandler::NoteClient(const DeviceRequest& request, http::ConnectionId connection) {
    AnnounceConnection(connection);
    TellObjects([client = request.key.client, connection](ClientObjects& objects) {
        objects.NoteActivity();
        objects.ConnectionServes(client, connection);
    });
}

bool RequestHandler::AnswerFromMemory(const DeviceRequest& request, http::ConnectionId connection,
                                      const http::AnswerFunction& answer) {
    const auto kept = std::ranges::find_if(unheard_, [&](const auto& entry) {
        return !request.putIdentity.empty() && entry.first == request.putIdentity;
    });
    if (kept == unheard_.end()) {
        return false;
    }
    NoteClient(request, connection);
    answer(kept->second);
    return true;
}

void RequestHandler::Remember(const std::string& putIdentity, const http::Answer& answer) {
    constexpr std::size_t kMostAnswers = 1000;
    unheard_.emplace_back(putIdentity, answer);
    if (unheard_.size() > kMostAnswers) {
        unheard_.pop_front();
    }
    needs_.after(needs_.repeatTime, [this, putIdentity] {
        const auto oldest = std::ranges::find(unheard_, putIdentity, &std::pair<std::string, http::Answer>::first);
        if (oldest != unheard_.end()) {
            unheard_.erase(oldest);
        }
    });
}

void RequestHandler::AnnounceConnection(http::ConnectionId connection) {
    if (clientConnections_.insert(connection).second) {
        TellObjects([connection](ClientObjects& objects) { objects.ConnectionOpened(connection); });
    }
}

void RequestHandler::ConnectionClosed(http::ConnectionId connection) {
    if (clientConnections_.erase(connection) > 0) {
        TellObjects([connection](ClientObjects& objects) { objects.ConnectionClosed(connection); });
    }
}

void RequestHandler::TellObjects(std::function<void(ClientObjects&)> message) {
    // A read must not overtake the news of its connection.
    needs_.pump.Post(CallKind::Read, [&objects = needs_.objects, message = std::move(message)] { message(objects); });
}

void RequestHandler::StartCall(DeviceRequest request, http::ConnectionId connection,
                               const http::AnswerFunction& answer) {
    AnnounceConnection(connection);
    const TransactionIds ids{request.clientTransaction, NextTransaction()};
    underWay_.insert_or_assign(ids.server, CallUnderWay{request.putIdentity, connection, {answer}});
    const CallKind kind = request.route->KindOf(request.arguments);
    PostCall(std::make_shared<const DeviceCall>(DeviceCall{std::move(request), ids, connection}), kind);
}

/// Called on the I/O thread, and on the logic thread for a call that has to wait for its object.
void RequestHandler::PostCall(std::shared_ptr<const DeviceCall> call, CallKind kind) {
    needs_.pump.Post(kind, [this, kind, call = std::move(call)] {
        const bool mayCreate = kind != CallKind::Read;
        if (mayCreate ? needs_.objects.BeingCreated(call->request.key) : !needs_.objects.HasObject(call->request.key)) {
            PostCall(call, mayCreate ? kind : CallKind::Brief);
            return;
        }
        http::Answer answer = RunCall(*call);
        answer.keepsConnection = true;  // its client may be silent for hours
        needs_.postToIo(
            [this, transaction = call->ids.server, answer = std::move(answer)] { FinishCall(transaction, answer); });
    });
}

void RequestHandler::FinishCall(std::uint32_t serverTransaction, const http::Answer& answer) {
    const auto call = underWay_.extract(serverTransaction);
    if (!call.mapped().putIdentity.empty() && needs_.connectionIsGone(call.mapped().connection)) {
        Remember(call.mapped().putIdentity, answer);
    }
    for (const http::AnswerFunction& waiting : call.mapped().answers) {
        waiting(answer);
    }
}

/// Whether the call would start a motion that a later call has stopped already: that stop went ahead of it. Runs on the
/// logic thread.
bool RequestHandler::CameBeforeAStop(const DeviceCall& call) {
    const Route* const route = call.request.route;
    if (route->stopForm == nullptr) {
        return false;
    }
    const Arguments& arguments = call.request.arguments;
    std::uint32_t& lastStop = lastStops_[{route->stopForm, route->stopForm->motion(arguments)}];
    const bool isLater = static_cast<std::int32_t>(call.ids.server - lastStop) > 0 || lastStop == 0;
    if (route->stopForm->stops(arguments)) {
        lastStop = isLater ? call.ids.server : lastStop;
        return false;
    }
    return !isLater;
}

/// Runs on the logic thread.
http::Answer RequestHandler::RunCall(const DeviceCall& call) {
    const Route& route = *call.request.route;
    const bool tooLate = CameBeforeAStop(call);
    try {
        const auto run = [&](ClientObject& object) {
            if (tooLate) {  // it is answered as a motion that was stopped as soon as it began
                object.Device().DoesNotBegin(route.name);
                return std::string(route.valueIfStopped);
            }
            if (route.handler == nullptr) {
                throw DriverError(ErrorNumber::NotImplemented,
                                  std::string(route.name) + " is not implemented in this driver.");
            }
            return route.handler(object, call.request.arguments);
        };
        return ValueAnswer(call.ids,
                           needs_.objects.Call(call.request.key, call.connection, route.name, run, route.kind));
    } catch (const DriverError& error) {
        if (needs_.refused) {
            needs_.refused(route.name, error.Message());
        }
        return ErrorAnswer(call.ids, AlpacaErrorNumber(error.Number()), error.Message());
    } catch (const std::exception& error) {
        return http::RefusalAnswer(500, std::string("The driver failed: ") + error.what());
    } catch (...) {
        return http::RefusalAnswer(500, "The driver failed.");
    }
}

}  // namespace kestrane::alpaca
