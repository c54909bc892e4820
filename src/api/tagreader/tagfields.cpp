#include "tagfields_p.h"

#include <QVector>

#include <apetag.h>
#include <asftag.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <textidentificationframe.h>
#include <tpropertymap.h>
#include <xiphcomment.h>

#include <algorithm>
#include <limits>

namespace {

/// The names of a field in the kinds of tags that name their fields.
struct Names
{
    const char* id3v2;
    /// In Vorbis comments and APE tags, the most common first; empty: there is no further name.
    const char* keys[3];
    const char* mp4;
    /// Empty: the field is no attribute, or has no further name.
    const char* asf[2];
};

constexpr Names titleNames = {"TIT2", {"TITLE", "", ""}, "\251nam", {"", ""}};
constexpr Names artistNames = {"TPE1", {"ARTIST", "", ""}, "\251ART", {"", ""}};
constexpr Names albumNames = {"TALB", {"ALBUM", "", ""}, "\251alb", {"WM/AlbumTitle", ""}};
constexpr Names albumArtistNames = {
    "TPE2", {"ALBUMARTIST", "ALBUM ARTIST", "ALBUM_ARTIST"}, "aART", {"WM/AlbumArtist", ""}};
constexpr Names genreNames = {"TCON", {"GENRE", "", ""}, "\251gen", {"WM/Genre", ""}};
constexpr Names yearNames = {"TDRC", {"DATE", "YEAR", ""}, "\251day", {"WM/Year", "date"}};
constexpr Names trackNames = {"TRCK", {"TRACKNUMBER", "TRACK", "TRACKNUM"}, "trkn", {"WM/TrackNumber", ""}};
constexpr Names discNames = {"TPOS", {"DISCNUMBER", "DISC", ""}, "disk", {"WM/PartOfSet", ""}};

const Names& names(TagField field)
{
    switch (field) {
    case TagField::Title:
        return titleNames;
    case TagField::Artist:
        return artistNames;
    case TagField::Album:
        return albumNames;
    case TagField::AlbumArtist:
        return albumArtistNames;
    case TagField::Genre:
        break;
    }
    return genreNames;
}

const Names& names(TagNumber field)
{
    switch (field) {
    case TagNumber::Year:
        return yearNames;
    case TagNumber::Track:
        return trackNames;
    case TagNumber::Disc:
        break;
    }
    return discNames;
}

/// The fields that every kind of tag has.
TagLib::String commonField(const TagLib::Tag& tag, TagField field)
{
    switch (field) {
    case TagField::Title:
        return tag.title();
    case TagField::Artist:
        return tag.artist();
    case TagField::Album:
        return tag.album();
    case TagField::Genre:
        return tag.genre();
    case TagField::AlbumArtist:
        break;
    }
    return {};
}

unsigned int commonNumber(const TagLib::Tag& tag, TagNumber field)
{
    switch (field) {
    case TagNumber::Year:
        return tag.year();
    case TagNumber::Track:
        return tag.track();
    case TagNumber::Disc:
        break;
    }
    const auto* mp4 = dynamic_cast<const TagLib::MP4::Tag*>(&tag);
    return mp4 ? static_cast<unsigned int>(mp4->item(discNames.mp4).toIntPair().first) : 0;
}

TagLib::StringList values(const TagLib::ID3v2::Tag& tag, const Names& names)
{
    const TagLib::ID3v2::FrameList& frames = tag.frameList(names.id3v2);
    const auto* text =
        frames.isEmpty() ? nullptr : dynamic_cast<const TagLib::ID3v2::TextIdentificationFrame*>(frames.front());
    if (!text)
        return {};
    // The property of a genre is its name where the frame has a number.
    return &names == &genreNames ? text->asProperties().value("GENRE") : text->fieldList();
}

TagLib::StringList values(const TagLib::Ogg::XiphComment& tag, const Names& names)
{
    const TagLib::Ogg::FieldListMap& fields = tag.fieldListMap();
    for (const char* key : names.keys) {
        const auto field = fields.find(key);
        if (field != fields.end())
            return field->second;
    }
    return {};
}

TagLib::StringList values(const TagLib::APE::Tag& tag, const Names& names)
{
    const TagLib::APE::ItemListMap& items = tag.itemListMap();
    for (const char* key : names.keys) {
        const auto item = items.find(key);
        if (item != items.end())
            return item->second.values();
    }
    return {};
}

TagLib::StringList values(const TagLib::MP4::Tag& tag, const Names& names)
{
    return tag.item(names.mp4).toStringList();
}

TagLib::StringList values(const TagLib::ASF::Tag& tag, const Names& names)
{
    TagLib::StringList result;
    const TagLib::ASF::AttributeListMap& attributes = tag.attributeListMap();
    for (const char* name : names.asf) {
        // TagLib's attribute() adds a missing attribute without values, and its later code relies on a first value.
        const auto found = attributes.find(name);
        if (found == attributes.end())
            continue;
        for (const TagLib::ASF::Attribute& attribute : found->second)
            result.append(attribute.toString());
    }
    return result;
}

/// Empty for the kinds of tags that do not name their fields.
TagLib::StringList namedValues(const TagLib::Tag& tag, const Names& names)
{
    if (const auto* id3v2 = dynamic_cast<const TagLib::ID3v2::Tag*>(&tag))
        return values(*id3v2, names);
    if (const auto* xiph = dynamic_cast<const TagLib::Ogg::XiphComment*>(&tag))
        return values(*xiph, names);
    if (const auto* ape = dynamic_cast<const TagLib::APE::Tag*>(&tag))
        return values(*ape, names);
    if (const auto* mp4 = dynamic_cast<const TagLib::MP4::Tag*>(&tag))
        return values(*mp4, names);
    if (const auto* asf = dynamic_cast<const TagLib::ASF::Tag*>(&tag))
        return values(*asf, names);
    return {};
}

/// Longer values are truncated.
constexpr int longestText = 4096;

/// The first `length` units of a text. TagLib's wide characters are units of UTF-16.
QString startOf(const TagLib::String& text, int length)
{
    QString result;
    const wchar_t* units = text.toCWString();
    std::for_each(units, units + std::min(static_cast<int>(text.size()), length), [&result](wchar_t unit) {
        result.append(QChar(static_cast<ushort>(unit)));
    });
    return result;
}

/// Replaces unpaired surrogates, which neither UTF-8 nor JSON can represent.
QString withoutHalves(const QString& text)
{
    if (text.isValidUtf16())
        return text;
    const QVector<uint> characters = text.toUcs4();
    return QString::fromUcs4(characters.constData(), characters.size());
}

QString joined(const TagLib::StringList& values)
{
    const QLatin1String separator(", ");
    QString result;
    for (const TagLib::String& value : values) {
        const int room = longestText - result.size() - separator.size();
        if (room <= 0)
            break;
        const QString text = startOf(value, room);
        if (text.trimmed().isEmpty())
            continue;
        if (!result.isEmpty())
            result += separator;
        result += text;
    }
    return withoutHalves(result);
}

/// 0 if the number is too large to be meant.
int positive(unsigned int number)
{
    return number <= static_cast<unsigned int>(std::numeric_limits<int>::max()) ? static_cast<int>(number) : 0;
}

} // namespace

QString tagText(const TagLib::Tag& tag, TagField field)
{
    const QString text = joined(namedValues(tag, names(field)));
    return text.isEmpty() ? joined(commonField(tag, field)) : text;
}

int tagNumber(const TagLib::Tag& tag, TagNumber field)
{
    const TagLib::StringList named = namedValues(tag, names(field));
    const int number = named.isEmpty() ? 0 : named.front().toInt();
    return number > 0 ? number : positive(commonNumber(tag, field));
}
