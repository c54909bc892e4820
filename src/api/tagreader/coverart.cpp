#include "coverart_p.h"

#include "loadedfunction_p.h"

CoverArt makeCoverArt(const QByteArray& picture, int width)
{
    // Most of what it needs is Qt Gui, which takes longer to load than a directory to list.
    static LoadedFunction maker(TAVO_COVERART_FILE, coverArtMaker, "No covers can be made");
    CoverArt art;
    if (auto* const make = maker.get<CoverArtMaker>())
        make(picture, width, art);
    return art;
}
