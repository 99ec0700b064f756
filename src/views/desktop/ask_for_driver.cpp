#include "views/desktop/ask_for_driver.h"

#include <QNetworkReply>

namespace kestrane::desktop {

void AskForDriver(QNetworkAccessManager& network, const QUrl& address) {
    QNetworkReply* const reply = network.get(QNetworkRequest(address.resolved(QUrl("/management/apiversions"))));
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
}

}  // namespace kestrane::desktop
