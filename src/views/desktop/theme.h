#pragma once

#include <QColor>
#include <QString>
#include <QVariant>
#include <QWidget>

namespace kestrane::desktop {

enum class Theme { Dark, Night, Day };

/// "Dark", "Night", "Day".
QString NameOf(Theme theme);
/// `Dark` for other names.
Theme ThemeOf(const QString& name);
/// The one that comes after it, in a circle.
Theme NextTheme(Theme theme);

/// What the colours of a theme are for. All of `Night` is red on black.
struct Colours {
    QColor back, plane, raised, edge, text, quiet, accent, warnBack, warnText, faultBack, faultText, stop, stopText,
        focus;
};
const Colours& ColoursOf(Theme theme);

/// Dresses the whole program.
void Wear(Theme theme);
/// The theme that is worn, for what is drawn by hand.
Theme WornTheme();

/// Sets a property that the style looks at, and has the widget drawn by it.
void Mark(QWidget& widget, const char* property, const QVariant& value);

}  // namespace kestrane::desktop
