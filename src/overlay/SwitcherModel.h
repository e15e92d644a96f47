#pragma once

#include "catalogue/AppEntry.h"
#include "overlay/DisplayedAppsModel.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace valimbra {

// What the overlay draws and the operations it calls: the switcher engine implements it (the
// engine lives above the overlay, so the overlay knows only this face of it).
class SwitcherModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Implemented by the switcher engine")
    Q_PROPERTY(valimbra::DisplayedAppsModel* displayedApps READ displayedAppsModel CONSTANT)
    Q_PROPERTY(int displayedCount READ displayedCount NOTIFY displayedAppsChanged)
    Q_PROPERTY(int highlightIndex READ highlightIndexOrNone WRITE setHighlightIndexFromView NOTIFY
                   highlightIndexChanged)
    Q_PROPERTY(QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY searchQueryChanged)
    Q_PROPERTY(bool isVisible READ isVisible NOTIFY isVisibleChanged)
    Q_PROPERTY(bool isWiggleMode READ isWiggleMode NOTIFY isWiggleModeChanged)
    Q_PROPERTY(bool canAddFavourite READ canAddFavourite NOTIFY favouritesChanged)

public:
    using QObject::QObject;

    virtual const QList<AppEntry>& displayedApps() const = 0;
    virtual DisplayedAppsModel* displayedAppsModel() const = 0;
    int displayedCount() const { return int(displayedApps().size()); }
    virtual std::optional<int> highlightIndex() const = 0;
    int highlightIndexOrNone() const { return highlightIndex().value_or(-1); }
    // -1 or an index outside the list clears the highlight.
    virtual void setHighlightIndexFromView(int index) = 0;
    virtual QString searchQuery() const = 0;
    virtual void setSearchQuery(const QString& query) = 0;
    virtual bool isVisible() const = 0;
    virtual bool isWiggleMode() const = 0;
    virtual bool canAddFavourite() const = 0;

    // Closing without a choice (Escape, a click outside); also leaves wiggle mode.
    Q_INVOKABLE virtual void hide() = 0;
    Q_INVOKABLE virtual void closeRequest() = 0;
    Q_INVOKABLE virtual void moveHighlight(int step) = 0;
    Q_INVOKABLE virtual void startHoverDwell() = 0;
    Q_INVOKABLE virtual void cancelHoverDwell() = 0;
    Q_INVOKABLE virtual void hoverItem(int index) = 0;
    Q_INVOKABLE virtual void commitHighlighted() = 0;
    Q_INVOKABLE virtual void activateAt(int index) = 0;
    Q_INVOKABLE virtual void appendSearchText(const QString& text) = 0;
    Q_INVOKABLE virtual void deleteLastSearchCharacter() = 0;
    Q_INVOKABLE virtual bool addFavourite(int index) = 0;
    Q_INVOKABLE virtual bool removeFavourite(const QString& bundleID) = 0;
    Q_INVOKABLE virtual bool ignoreApp(int index) = 0;
    Q_INVOKABLE virtual bool moveFavourite(const QString& bundleID, int step) = 0;
    Q_INVOKABLE virtual void enterWiggleMode() = 0;
    Q_INVOKABLE virtual void exitWiggleMode() = 0;

Q_SIGNALS:
    void displayedAppsChanged();
    void highlightIndexChanged();
    void searchQueryChanged();
    void isVisibleChanged();
    void isWiggleModeChanged();
    void favouritesChanged();
};

} // namespace valimbra
