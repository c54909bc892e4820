#pragma once

#include <random>
#include <string>
#include <unordered_set>
#include <vector>

/// Makes names like those in music folders: track numbers, artists and titles in several scripts, endings in upper and
/// lower case. 70 % of the files have one of the five endings of playablePatterns(). All runs make the same names.
class NameMaker
{
public:
    [[nodiscard]] std::string file();
    [[nodiscard]] std::string fileEndingWith(const std::string& ending);
    [[nodiscard]] std::string directory();
    [[nodiscard]] std::string title();
    [[nodiscard]] std::string artist();

private:
    [[nodiscard]] unsigned below(unsigned limit);
    [[nodiscard]] const std::string& oneOf(const std::vector<std::string>& texts);
    [[nodiscard]] std::string stem();
    [[nodiscard]] std::string unused(const std::string& stem, const std::string& ending);

    std::minstd_rand m_random{20260101};
    std::unordered_set<std::string> m_used;
};

/// Fills an empty directory with so many entries: 97 % empty files, 2 % directories, 1 % hidden files.
void fillDirectory(const std::string& directory, int entries);

/// Fills an empty directory with a tree, three levels deep, of empty files: `files` files in `directories` directories.
void fillTree(const std::string& directory, int files, int directories);

/// Creates an empty file, which must not exist yet; `directory` is an open descriptor.
void createFile(int directory, const std::string& name);
