#pragma once

#include <string>
#include <vector>

// What somebody may have meant.
namespace record {

// The candidate that takes the fewest changed, added and left-out characters to come from the word;
// of equals the one that begins most like it, and the first of those. Empty when even that one is
// too far away to be a likely slip, and for words of more than 256 bytes.
std::string Nearest(const std::string& word, const std::vector<std::string>& candidates);

// " Did you mean 'NAME'?" with the nearest candidate, printed safely; empty when there is none.
std::string Question(const std::string& word, const std::vector<std::string>& candidates);

} // namespace record
