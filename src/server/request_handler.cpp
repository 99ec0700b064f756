#include "server/request_handler.h"

#include <memory>
#include <stdexcept>

#include "kernel/base/errors.h"
#include "server/parameter_values.h"

namespace kestrane::server {
namespace {

/// A request that is refused with status 400 and this line.
struct Refused {
    std::string line;
};

struct DevicePath {
    DeviceKind device;
    std::string_view member;
};

constexpr std::string_view kApiRoot = "/api/v1/";

/// The path "/api/v1/<device>/0/<member>"; nothing for any other.
std::optional<DevicePath> ParseDevicePath(std::string_view path) {
    if (!path.starts_with(kApiRoot)) {
        return std::nullopt;
    }
    path.remove_prefix(kApiRoot.size());
    for (const DeviceKind device : {DeviceKind::Telescope, DeviceKind::Focuser}) {
        const std::string root = std::string(PathName(device)) + "/0/";
        if (path.starts_with(root)) {
            return DevicePath{device, path.substr(root.size())};
        }
    }
    return std::nullopt;
}

template <typename Parsed>
Argument Checked(const std::optional<Parsed>& value, const Parameter& parameter) {
    if (!value) {
        throw Refused{"Parameter " + std::string(parameter.name) + " has a bad value."};
    }
    return *value;
}

Argument Convert(const Parameter& parameter, const std::string& text) {
    switch (parameter.type) {
        case ValueType::Boolean:
            return Checked(ParseBoolean(text), parameter);
        case ValueType::Integer:
            return Checked(ParseInteger(text), parameter);
        case ValueType::Number:
            return Checked(ParseNumber(text), parameter);
        case ValueType::UtcDate:
            return Checked(ParseUtcDate(text), parameter);
        case ValueType::Text:
            break;
    }
    return text;
}

Arguments ConvertAll(const Route& route, const RequestParameters& parameters, NameMatch match) {
    std::vector<Argument> values;
    for (const Parameter& parameter : route.parameters) {
        const std::string* text = parameters.Find(parameter.name, match);
        if (text == nullptr) {
            throw Refused{"Parameter " + std::string(parameter.name) + " is missing."};
        }
        values.push_back(Convert(parameter, *text));
    }
    return Arguments(std::move(values));
}

/// What makes two PUTs the same; empty when they cannot be told apart from new ones.
std::string PutIdentity(const HttpRequest& request, std::uint32_t transaction) {
    if (request.verb != Verb::Put || transaction == 0) {
        return {};
    }
    return request.remoteAddress + "\n" + request.path + "\n" + request.body;
}

}  // namespace

void RequestHandler::Handle(const HttpRequest& request, const AnswerFunction& answer) {
    if (request.path.starts_with(kApiRoot)) {
        HandleDevice(request, answer);
    } else if (request.verb == Verb::Get) {
        HandleManagement(request, answer);
    } else {
        answer(RefusalAnswer(400, "There is no such path."));
    }
}

TransactionIds RequestHandler::IdsOf(const RequestParameters& parameters, NameMatch match) {
    lastServerTransaction_ = lastServerTransaction_ == UINT32_MAX ? 1 : lastServerTransaction_ + 1;
    return {ParseId(parameters.Find("ClientTransactionID", match)), lastServerTransaction_};
}

void RequestHandler::HandleManagement(const HttpRequest& request, const AnswerFunction& answer) {
    needs_.pump.Post(CallKind::Brief, [&objects = needs_.objects] { objects.NoteActivity(); });
    if (const std::optional<std::string> page = needs_.management.PageOf(request.path)) {
        answer(PageAnswer(*page));
        return;
    }
    const std::optional<RequestParameters> parameters = RequestParameters::Parse(request.query);
    const std::optional<std::string> value = needs_.management.ValueOf(request.path);
    if (!value || !parameters) {
        answer(RefusalAnswer(400, value ? "There are too many parameters." : "There is no such path."));
        return;
    }
    answer(ValueAnswer(IdsOf(*parameters, NameMatch::AnyCase), *value));
}

void RequestHandler::HandleDevice(const HttpRequest& request, const AnswerFunction& answer) {
    const bool isGet = request.verb == Verb::Get;
    const NameMatch match = isGet ? NameMatch::AnyCase : NameMatch::Exact;
    const std::optional<DevicePath> path = ParseDevicePath(request.path);
    DeviceCall call;
    if (path) {
        call.route = needs_.routes.Find(path->device, request.verb, path->member);
    }
    const auto parameters = RequestParameters::Parse(isGet ? request.query : request.body);
    if (call.route == nullptr || !parameters) {
        answer(
            RefusalAnswer(400, parameters ? "There is no such device or member." : "There are too many parameters."));
        return;
    }
    try {
        call.arguments = ConvertAll(*call.route, *parameters, match);
    } catch (const Refused& refused) {
        answer(RefusalAnswer(400, refused.line));
        return;
    }
    const std::string identity = PutIdentity(request, ParseId(parameters->Find("ClientTransactionID", match)));
    call.key = {{request.remoteAddress, ParseId(parameters->Find("ClientID", match))}, path->device};
    if (JoinRunningPut(identity, request, call.key.client, answer)) {
        return;
    }
    call.ids = IdsOf(*parameters, match);
    call.connection = request.connection;
    StartCall(call, identity, answer);
}

bool RequestHandler::JoinRunningPut(const std::string& identity, const HttpRequest& request, const ClientName& client,
                                    const AnswerFunction& answer) {
    for (auto& [transaction, put] : underWay_) {
        if (!identity.empty() && put.putIdentity == identity && needs_.connectionIsGone(put.connection)) {
            put.connection = request.connection;
            put.answers.push_back(answer);
            AnnounceConnection(request.connection);
            needs_.pump.Post(CallKind::Brief, [&objects = needs_.objects, client, connection = request.connection] {
                objects.ConnectionServes(client, connection);
            });
            return true;
        }
    }
    return false;
}

void RequestHandler::AnnounceConnection(ConnectionId connection) {
    if (clientConnections_.insert(connection).second) {
        needs_.pump.Post(CallKind::Brief,
                         [&objects = needs_.objects, connection] { objects.ConnectionOpened(connection); });
    }
}

void RequestHandler::ConnectionClosed(ConnectionId connection) {
    if (clientConnections_.erase(connection) > 0) {
        needs_.pump.Post(CallKind::Brief,
                         [&objects = needs_.objects, connection] { objects.ConnectionClosed(connection); });
    }
}

void RequestHandler::StartCall(const DeviceCall& call, std::string putIdentity, const AnswerFunction& answer) {
    AnnounceConnection(call.connection);
    underWay_.insert_or_assign(call.ids.server, CallUnderWay{std::move(putIdentity), call.connection, {answer}});
    PostCall(std::make_shared<const DeviceCall>(call));
}

/// On the I/O thread, and on the logic thread for a call that has to wait for its object.
void RequestHandler::PostCall(std::shared_ptr<const DeviceCall> call) {
    const CallKind kind = call->route->kind;
    needs_.pump.Post(kind, [this, call = std::move(call)] {
        if (needs_.objects.BeingCreated(call->key)) {
            PostCall(call);
            return;
        }
        HttpAnswer answer = RunCall(*call);
        // The client's object lives as long as its connection.
        answer.keepsConnection = true;
        needs_.postToIo(
            [this, transaction = call->ids.server, answer = std::move(answer)] { FinishCall(transaction, answer); });
    });
}

void RequestHandler::FinishCall(std::uint32_t serverTransaction, const HttpAnswer& answer) {
    const auto call = underWay_.extract(serverTransaction);
    for (const AnswerFunction& waiting : call.mapped().answers) {
        waiting(answer);
    }
}

/// On the logic thread.
HttpAnswer RequestHandler::RunCall(const DeviceCall& call) {
    try {
        return ValueAnswer(call.ids, needs_.objects.Call(call.key, call.connection, [&call](ClientObject& object) {
            if (call.route->handler == nullptr) {
                throw DriverError(ErrorNumber::NotImplemented,
                                  std::string(call.route->name) + " is not implemented in this driver.");
            }
            return call.route->handler(object, call.arguments);
        }));
    } catch (const DriverError& error) {
        return ErrorAnswer(call.ids, AlpacaErrorNumber(error.Number()), error.Message());
    } catch (const std::exception& error) {
        return RefusalAnswer(500, std::string("The driver failed: ") + error.what());
    } catch (...) {
        return RefusalAnswer(500, "The driver failed.");
    }
}

}  // namespace kestrane::server
