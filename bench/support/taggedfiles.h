#pragma once

#include <string>

/// Fills an empty directory with albums of tagged audio files, each a copy of one of the demo files with names, tags
/// and a cover of its own album. The first fourth of the albums lies below partOfTaggedFiles, the others below "Rest".
void fillWithTaggedFiles(const std::string& directory, int albums);

constexpr int tracksPerAlbum = 8;
constexpr char partOfTaggedFiles[] = "Part";
