// Application icons as the X11 backend gets them, then the colour the overlay takes from them:
// - every input as a _NET_WM_ICON property (width, height, pixels, repeated; sizes may lie),
//   read at most as far as the backend reads it;
// - PNG, SVG and XPM files (recognised by their first bytes) decoded by the icon loader;
// - an index.theme (starting "[Icon Theme]") describing a theme whose icon is then looked up.
// Whatever comes out is null or fits the requested size.

#include "FuzzSupport.h"

#include "catalogue/IconProcessor.h"
#include "platform/x11/IconLoader.h"
#include "platform/x11/X11Connection.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>

using namespace valimbra;
using namespace valimbra::x11;
using valimbra::fuzz::require;

namespace {

constexpr int kIconSize = 128;                 // IconLoader's default, which the backend uses
constexpr qsizetype kNetWmIconWords = 1 << 20; // how much of the property the backend reads
const QString kTheme = QStringLiteral("fuzz-theme");
const QString kIconName = QStringLiteral("fuzz-icon");

const QString& dataDir() {
    static const QString dir = QDir::cleanPath(fuzz::scratchDir() + QStringLiteral("/share"));
    return dir;
}

QString themeDir() {
    return dataDir() + QStringLiteral("/icons/") + kTheme;
}

// One small icon of each kind in the directories the seed index.theme files name.
void installThemeIcons() {
    QImage png(16, 16, QImage::Format_ARGB32);
    png.fill(qRgba(200, 40, 40, 255));
    const QByteArray svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"16\" height=\"16\">"
                           "<rect width=\"16\" height=\"16\" fill=\"#2a6\"/></svg>";
    const QByteArray xpm = "/* XPM */\nstatic char *i[] = {\"2 2 1 1\", \". c #3366cc\", \"..\", "
                           "\"..\"};\n";
    const struct {
        const char* dir;
        const char* suffix;
    } places[] = {{"16x16/apps", "png"},
                  {"48x48/apps", "png"},
                  {"scalable/apps", "svg"},
                  {"32x32/apps", "xpm"},
                  {"apps", "svg"}};
    for (const auto& place : places) {
        const QString dir = themeDir() + QStringLiteral("/") + QString::fromLatin1(place.dir);
        QDir().mkpath(dir);
        const QString file = dir + QStringLiteral("/") + kIconName + QStringLiteral(".") +
                             QString::fromLatin1(place.suffix);
        if (qstrcmp(place.suffix, "png") == 0)
            png.save(file, "PNG");
        else
            fuzz::writeFile(file, qstrcmp(place.suffix, "svg") == 0 ? svg : xpm);
    }
}

void checkIcon(const QImage& icon) {
    if (icon.isNull())
        return;
    require(icon.width() <= kIconSize && icon.height() <= kIconSize);
    require(icon.format() == QImage::Format_ARGB32_Premultiplied);
    const auto colour = IconProcessor::computeColor(icon);
    require(!colour || colour->isValid());
}

void netWmIcon(const QByteArray& input) {
    Property property;
    property.type = XCB_ATOM_CARDINAL;
    property.format = 32;
    property.value = input.left(kNetWmIconWords * 4);
    checkIcon(IconLoader::fromNetWmIcon(property.cardinals(), kIconSize));
}

void imageFile(const QByteArray& input, const char* suffix) {
    const QString file = dataDir() + QStringLiteral("/icon.") + QString::fromLatin1(suffix);
    if (!fuzz::writeFile(file, input))
        return;
    // A fresh loader each time: it caches by path.
    const IconLoader loader({dataDir()}, kTheme, kIconSize);
    checkIcon(loader.load(file));
}

void theme(const QByteArray& input) {
    if (!fuzz::writeFile(themeDir() + QStringLiteral("/index.theme"), input))
        return;
    const IconLoader loader({dataDir()}, kTheme, kIconSize);
    const auto found = loader.findIconFile(kIconName);
    require(!found || QFileInfo(*found).completeBaseName() == kIconName);
    checkIcon(loader.load(kIconName));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::quietQt();
    fuzz::startGuiApplication(); // SVG rendering and the colour raster paint with QPainter
    installThemeIcons();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Icon files have no size limit in the backend; -max_len keeps runs short.
    const QByteArray input = fuzz::bytes(data, size);
    netWmIcon(input);
    if (input.startsWith("[Icon Theme]"))
        theme(input);
    else if (input.startsWith("\x89PNG"))
        imageFile(input, "png");
    else if (input.startsWith("/* XPM */"))
        imageFile(input, "xpm");
    else if (input.contains("<svg"))
        imageFile(input, "svg");
    return 0;
}
