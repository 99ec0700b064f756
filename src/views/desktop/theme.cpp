#include "views/desktop/theme.h"

#include <QApplication>
#include <QFile>
#include <QPalette>
#include <QStyle>
#include <array>
#include <utility>

namespace kestrane::desktop {
namespace {

constexpr const char* kProperty = "theme";
constexpr std::array<const char*, 3> kNames{"Dark", "Night", "Day"};

const std::array<Colours, 3> kColours{{
    {.back = "#101418",
     .plane = "#181e24",
     .raised = "#232b33",
     .edge = "#37424d",
     .text = "#e6ebf0",
     .quiet = "#a3b0bd",
     .accent = "#e2664f",
     .warnBack = "#e0a83a",
     .warnText = "#201400",
     .faultBack = "#ffd400",
     .faultText = "#00108f",
     .stop = "#d22f27",
     .stopText = "#ffffff",
     .focus = "#6cb2ff"},
    {.back = "#000000",
     .plane = "#000000",
     .raised = "#170000",
     .edge = "#6a0000",
     .text = "#ff0000",
     .quiet = "#f50000",
     .accent = "#ff0000",
     .warnBack = "#ff0000",
     .warnText = "#000000",
     .faultBack = "#ff0000",
     .faultText = "#000000",
     .stop = "#ff0000",
     .stopText = "#000000",
     .focus = "#ff0000"},
    {.back = "#f4f5f7",
     .plane = "#ffffff",
     .raised = "#e9edf1",
     .edge = "#b9c2cb",
     .text = "#14191e",
     .quiet = "#4d5964",
     .accent = "#b03a26",
     .warnBack = "#ffdf94",
     .warnText = "#4a2d00",
     .faultBack = "#ffd400",
     .faultText = "#00108f",
     .stop = "#d22f27",
     .stopText = "#ffffff",
     .focus = "#0a5cc2"},
}};

QString StyleOf(Theme theme) {
    const Colours& colours = ColoursOf(theme);
    const std::pair<const char*, QColor Colours::*> words[] = {
        {"@back@", &Colours::back},           {"@plane@", &Colours::plane},         {"@raised@", &Colours::raised},
        {"@edge@", &Colours::edge},           {"@text@", &Colours::text},           {"@quiet@", &Colours::quiet},
        {"@accent@", &Colours::accent},       {"@warnBack@", &Colours::warnBack},   {"@warnText@", &Colours::warnText},
        {"@faultBack@", &Colours::faultBack}, {"@faultText@", &Colours::faultText}, {"@stop@", &Colours::stop},
        {"@stopText@", &Colours::stopText},   {"@focus@", &Colours::focus}};
    QFile file(":/style.qss");
    file.open(QIODevice::ReadOnly);
    QString style = QString::fromUtf8(file.readAll());
    for (const auto& [word, colour] : words) {
        style.replace(word, (colours.*colour).name());
    }
    return style.replace("@theme@", NameOf(theme).toLower());
}

/// For what the style does not reach: selections, placeholders, windows of the toolkit itself.
QPalette PaletteOf(const Colours& colours) {
    QPalette palette;
    const std::pair<QPalette::ColorRole, QColor Colours::*> roles[] = {{QPalette::Window, &Colours::back},
                                                                       {QPalette::WindowText, &Colours::text},
                                                                       {QPalette::Base, &Colours::back},
                                                                       {QPalette::AlternateBase, &Colours::plane},
                                                                       {QPalette::Text, &Colours::text},
                                                                       {QPalette::Button, &Colours::raised},
                                                                       {QPalette::ButtonText, &Colours::text},
                                                                       {QPalette::Highlight, &Colours::accent},
                                                                       {QPalette::HighlightedText, &Colours::back},
                                                                       {QPalette::ToolTipBase, &Colours::raised},
                                                                       {QPalette::ToolTipText, &Colours::text},
                                                                       {QPalette::PlaceholderText, &Colours::quiet},
                                                                       {QPalette::Link, &Colours::accent},
                                                                       {QPalette::LinkVisited, &Colours::accent},
                                                                       {QPalette::BrightText, &Colours::text},
                                                                       {QPalette::Light, &Colours::raised},
                                                                       {QPalette::Mid, &Colours::edge},
                                                                       {QPalette::Dark, &Colours::edge},
                                                                       {QPalette::Shadow, &Colours::back}};
    for (const auto& [role, colour] : roles) {
        palette.setColor(role, colours.*colour);
    }
    return palette;
}

}  // namespace

QString NameOf(Theme theme) {
    return kNames[static_cast<std::size_t>(theme)];
}

Theme ThemeOf(const QString& name) {
    for (const Theme theme : {Theme::Night, Theme::Day}) {
        if (name == NameOf(theme)) {
            return theme;
        }
    }
    return Theme::Dark;
}

Theme NextTheme(Theme theme) {
    return static_cast<Theme>((static_cast<int>(theme) + 1) % static_cast<int>(kNames.size()));
}

const Colours& ColoursOf(Theme theme) {
    return kColours[static_cast<std::size_t>(theme)];
}

void Wear(Theme theme) {
    qApp->setProperty(kProperty, static_cast<int>(theme));
    QApplication::setPalette(PaletteOf(ColoursOf(theme)));
    qApp->setStyleSheet(StyleOf(theme));
}

Theme WornTheme() {
    return static_cast<Theme>(qApp->property(kProperty).toInt());
}

void Mark(QWidget& widget, const char* property, const QVariant& value) {
    if (widget.property(property) != value) {
        widget.setProperty(property, value);
        widget.style()->unpolish(&widget);
        widget.style()->polish(&widget);
    }
}

}  // namespace kestrane::desktop
