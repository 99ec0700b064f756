#include "views/desktop/designs.h"

#include <QMap>
#include <QRegularExpression>
#include <ui_frmAskAbortSlew.h>
#include <ui_frmAskAndWarnParked.h>
#include <ui_frmAskCustomParkOK.h>
#include <ui_frmAskGotoRaDec.h>
#include <ui_frmAskGtoAltAz.h>
#include <ui_frmAskMessage.h>
#include <ui_frmAskPark.h>
#include <ui_frmAskSwapEWNS.h>
#include <ui_frmAskUnpark.h>
#include <ui_frmAskUserCloseDriver.h>
#include <ui_frmClients.h>
#include <ui_frmHandBox.h>
#include <ui_frmHelp.h>
#include <ui_frmInitMount.h>
#include <ui_frmInitialSetup.h>
#include <ui_frmLogWindow.h>
#include <ui_frmMessage.h>
#include <ui_frmPark1Warning.h>
#include <ui_frmQuaySettings.h>
#include <ui_frmRcalSyncWarning.h>
#include <ui_frmSetupFocuser.h>
#include <ui_frmStatus.h>

namespace kestrane::desktop {
namespace {

template <class Design>
void Make(QWidget* window) {
    Design().setupUi(window);
}

const QMap<QString, void (*)(QWidget*)>& Designs() {
    static const QMap<QString, void (*)(QWidget*)> designs{
        {"frmAskAbortSlew", &Make<Ui::frmAskAbortSlew>},
        {"frmAskAndWarnParked", &Make<Ui::frmAskAndWarnParked>},
        {"frmAskCustomParkOK", &Make<Ui::frmAskCustomParkOK>},
        {"frmAskGotoRaDec", &Make<Ui::frmAskGotoRaDec>},
        {"frmAskGtoAltAz", &Make<Ui::frmAskGtoAltAz>},
        {"frmAskMessage", &Make<Ui::frmAskMessage>},
        {"frmAskPark", &Make<Ui::frmAskPark>},
        {"frmAskSwapEWNS", &Make<Ui::frmAskSwapEWNS>},
        {"frmAskUnpark", &Make<Ui::frmAskUnpark>},
        {"frmAskUserCloseDriver", &Make<Ui::frmAskUserCloseDriver>},
        {"frmClients", &Make<Ui::frmClients>},
        {"frmHandBox", &Make<Ui::frmHandBox>},
        {"frmHelp", &Make<Ui::frmHelp>},
        {"frmInitMount", &Make<Ui::frmInitMount>},
        {"frmInitialSetup", &Make<Ui::frmInitialSetup>},
        {"frmLogWindow", &Make<Ui::frmLogWindow>},
        {"frmMessage", &Make<Ui::frmMessage>},
        {"frmPark1Warning", &Make<Ui::frmPark1Warning>},
        {"frmQuaySettings", &Make<Ui::frmQuaySettings>},
        {"frmRcalSyncWarning", &Make<Ui::frmRcalSyncWarning>},
        {"frmSetupFocuser", &Make<Ui::frmSetupFocuser>},
        {"frmStatus", &Make<Ui::frmStatus>},
    };
    return designs;
}

}  // namespace

const QStringList& DesignedForms() {
    static const QStringList names = Designs().keys();
    return names;
}

QWidget* MakeContent(const QString& form, QWidget* parent) {
    const auto make = Designs().value(form);
    if (make == nullptr) {
        return nullptr;
    }
    auto* const content = new QWidget(parent);
    make(content);
    return content;
}

QString ControlOf(const QString& objectName) {
    static const QRegularExpression member("^(.+)_([0-9]+)$");
    return QString(objectName).replace(member, "\\1(\\2)");
}

}  // namespace kestrane::desktop
