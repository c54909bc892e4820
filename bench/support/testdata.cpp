#include "support/testdata.h"

#include "support/race.h"

#include <cctype>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const std::vector<std::string> words = {
    "Midnight",  "River",  "the",    "of",     "Blue",   "Señorita", "Étude",   "Nº 5",  "Løvetann", "Żółw",   "Сирень",
    "夜想曲",    "雨",     "Winter", "Summer", "in",     "Träume",   "Corazón", "Waltz", "Nocturne", "Remix",  "(Live)",
    "Interlude", "I",      "You",    "Don't",  "Ænima",  "München",  "Ελλάδα",  "שלום",  "Ночь",     "Ocean",  "Fire",
    "Dance",     "Little", "Big",    "Love",   "Broken", "Машина",   "Noël",    "Çiçek", "Pt. II",   "& Roll", "Coda"};
const std::vector<std::string> artists = {"The Harbour Lights", "Ålesjö Kvartett", "Low Orbit", "Møller & Søn",
                                          "Анна Волкова",       "山田 花子",       "J. Okafor", "Various Artists",
                                          "Trio Été",           "Kettle",          "Dña. Rosa", "Ensemble Größe"};
const std::vector<std::string> playableEndings = {".mp3", ".flac", ".ogg", ".m4a", ".wav", ".mp3", ".flac", ".MP3"};
const std::vector<std::string> otherEndings = {".jpg", ".png", ".txt", ".nfo",  ".cue",
                                               ".log", ".pdf", ".JPG", ".m3u8", ""};

class Directory
{
public:
    explicit Directory(const std::string& path) : m_descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        require(m_descriptor >= 0, "cannot open a directory of the test data");
    }
    ~Directory() { close(m_descriptor); }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    [[nodiscard]] int descriptor() const { return m_descriptor; }
    void makeDirectory(const std::string& name) const
    {
        require(mkdirat(m_descriptor, name.c_str(), 0755) == 0, "cannot make a directory of the test data");
    }

private:
    int m_descriptor;
};

std::string number(unsigned value)
{
    return (value < 10 ? "0" : "") + std::to_string(value);
}

} // namespace

unsigned NameMaker::below(unsigned limit)
{
    return static_cast<unsigned>(m_random()) % limit;
}

const std::string& NameMaker::oneOf(const std::vector<std::string>& texts)
{
    return texts[below(static_cast<unsigned>(texts.size()))];
}

std::string NameMaker::title()
{
    std::string text = oneOf(words);
    for (unsigned more = 1 + below(4); more > 0; --more)
        text += ' ' + oneOf(words);
    return text;
}

std::string NameMaker::stem()
{
    switch (below(5)) {
    case 0:
        return oneOf(artists) + " - " + title();
    case 1:
        return std::to_string(1 + below(3)) + '-' + number(1 + below(25)) + ' ' + title();
    case 2:
        return title() + ' ' + number(1 + below(99));
    default:
        return number(1 + below(30)) + " - " + title();
    }
}

std::string NameMaker::unused(const std::string& stem, const std::string& ending)
{
    std::string name = stem + ending;
    for (int copy = 2; !m_used.insert(name).second; ++copy)
        name = stem + " (" + std::to_string(copy) + ')' + ending;
    return name;
}

std::string NameMaker::file()
{
    return fileEndingWith(below(100) < 70 ? oneOf(playableEndings) : oneOf(otherEndings));
}

std::string NameMaker::fileEndingWith(const std::string& ending)
{
    return unused(stem(), ending);
}

std::string NameMaker::artist()
{
    return oneOf(artists);
}

std::string NameMaker::directory()
{
    return unused(oneOf(artists) + " - " + title() + " (" + std::to_string(1960 + below(65)) + ')', "");
}

void fillDirectory(const std::string& directory, int entries)
{
    const Directory target(directory);
    NameMaker names;
    for (int i = 0; i < entries; ++i) {
        if (i % 50 == 0)
            target.makeDirectory(names.directory());
        else
            createFile(target.descriptor(), i % 100 == 1 ? '.' + names.file() : names.file());
    }
}

void fillTree(const std::string& directory, int files, int directories)
{
    constexpr int perGenre = 500;
    const Directory target(directory);
    NameMaker names;
    std::string genre;
    for (int i = 0; i < directories; ++i) {
        const bool isGenre = i % perGenre == 0;
        const std::string name = isGenre ? genre = names.directory() : genre + '/' + names.directory();
        target.makeDirectory(name);
        const Directory album(directory + '/' + name);
        NameMaker tracks;
        for (int file = i * (files / directories); file < (i + 1) * (files / directories); ++file)
            createFile(album.descriptor(), names.file());
    }
}

void createFile(int directory, const std::string& name)
{
    const int file = openat(directory, name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0644);
    require(file >= 0, "cannot make a file of the test data");
    close(file);
}
