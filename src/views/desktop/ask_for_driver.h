#pragma once

#include <QNetworkAccessManager>
#include <QUrl>

namespace kestrane::desktop {

/// Has a driver started where there is none: a request at the address does that, whatever its answer.
void AskForDriver(QNetworkAccessManager& network, const QUrl& address);

}  // namespace kestrane::desktop
