#pragma once

#include <string>

/// Fills an empty directory with albums of tagged audio files, each a copy of a demo file, with the names, tags
/// and cover of its album. The first quarter of the albums is below partOfTaggedFiles, the others are below "Rest".
void fillWithTaggedFiles(const std::string& directory, int albums);

constexpr int tracksPerAlbum = 8;
constexpr char partOfTaggedFiles[] = "Part";
