#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QObject>
#include <QString>
#include <QWidget>
#include <map>

#include "views/desktop/hands.h"
#include "views/desktop/mirror.h"

class QAction;
class QKeyEvent;

namespace kestrane::desktop {

/// Ties the widgets of one window to the controls of the driver, by their names: what the driver says is shown, and
/// what a person does is reported. A widget always shows what the driver has; a change by a person that it refuses is
/// taken back. What is tied outlives it, and so do mirror and hands.
class FormBinding final : public QObject {
public:
    FormBinding(QString name, QWidget& content, Mirror& mirror, Hands& hands);

    const QString& Name() const { return name_; }
    /// Takes all that a window holds, as in a snapshot or where it opens.
    void Fill(const QJsonObject& form);
    /// One member of one control.
    void Change(const QString& control, const QString& member, const QJsonValue& value);
    /// A report of what a person does with this opening of the window.
    QJsonObject Report(const QString& deed, const QString& control = {}) const;
    void Click(const QString& control);
    void Close();

    QJsonValue Value(const QString& control, const QString& member) const;
    QString Text(const QString& control) const { return Value(control, "text").toString(); }
    /// Null where there is none.
    QWidget* WidgetOf(const QString& control) const;
    /// The button of the pad that is at this place now, 0 north-west to 8 south-east; null without one.
    QAbstractButton* PadButton(int cell) const;
    Hands::Report HoldOf(const QString& control) const;

private:
    struct Bound {
        QString name;
        QString kind;
        QWidget* widget = nullptr;
        QAction* action = nullptr;  ///< of an entry of a menu, which has no widget
        QJsonObject values;
    };
    using Show = void (FormBinding::*)(Bound&, const QJsonValue&);

    bool eventFilter(QObject* watched, QEvent* event) override;

    void Bind(Bound& bound, const QJsonObject& control);
    void BindButton(Bound& bound, const QJsonObject& control);
    void BindText(Bound& bound, const QString& deed);
    void BindLine(Bound& bound);
    void BindTick(Bound& bound);
    void BindList(Bound& bound);
    void BindTable(Bound& bound);
    void BindBar(Bound& bound);
    void Act(const Bound& bound, const QString& deed);
    void ReportChange(const Bound& bound, const QJsonValue& value, Mirror::Answer answer);
    const Bound* Find(const QString& control) const;
    void Note(const QString& name, QWidget* widget, QAction* action);
    bool OnKey(Bound& bound, const QKeyEvent& event);
    /// Shows again what the driver has, of all of that kind: one option takes the tick of another.
    void ShowAgain(const QString& kind, const QString& member);
    void CommitLine(Bound& bound);

    void ShowText(Bound& bound, const QJsonValue& value);
    void ShowTick(Bound& bound, const QJsonValue& value);
    void ShowEnabled(Bound& bound, const QJsonValue& value);
    void ShowVisible(Bound& bound, const QJsonValue& value);
    void ShowLook(Bound& bound, const QJsonValue& value);
    void ShowTip(Bound& bound, const QJsonValue& value);
    void ShowItems(Bound& bound, const QJsonValue& value);
    void ShowIndex(Bound& bound, const QJsonValue& value);
    void ShowMinimum(Bound& bound, const QJsonValue& value);
    void ShowMaximum(Bound& bound, const QJsonValue& value);
    void ShowValue(Bound& bound, const QJsonValue& value);
    void ShowCell(Bound& bound, const QJsonValue& value);
    static Show ShowOf(const QString& member);

    QString name_;
    QWidget& content_;
    Mirror& mirror_;
    Hands& hands_;
    std::map<QString, Bound> controls_;  ///< never changes once it is made: handlers keep references
    QJsonValue opening_ = 0;
    bool isShowing_ = false;  ///< what changes in a widget is the driver's doing
};

}  // namespace kestrane::desktop
