#include "Utf8.h"

#include <algorithm>
#include <cwchar>
#include <locale>

namespace {

using Decoder = std::codecvt<char32_t, char, std::mbstate_t>;

constexpr size_t BLOCK_BYTES = 4096;
constexpr size_t LONGEST_CHARACTER = 4;  // bytes

/// Counts lines and bytes up to a place in the text.
struct Position {
    void Advance(const char* from, const char* to) {
        const auto lines = std::count(from, to, '\n');
        const char* lineStart =
            lines == 0 ? from
                       : std::find(std::make_reverse_iterator(to), std::make_reverse_iterator(from), '\n').base();
        iLine += lines;
        iColumn = (lines == 0 ? iColumn : 1) + (to - lineStart);
    }
    std::string Text() const { return "Line " + std::to_string(iLine) + ", Column " + std::to_string(iColumn); }

    long iLine = 1;
    long iColumn = 1;
};

// The decoder lets the halves of surrogate pairs (U+D800 to U+DFFF, ED A0 80 to ED BF BF) through; they are no UTF-8.
bool IsSurrogate(char lead, char next) {
    return static_cast<unsigned char>(lead) == 0xED && static_cast<unsigned char>(next) >= 0xA0;
}

// Returns the end of the valid text; everything from there on is either broken or a character cut by the block's end.
const char* DecodeBlock(const char* from, const char* to) {
    const auto& decoder = std::use_facet<Decoder>(std::locale::classic());
    char32_t characters[BLOCK_BYTES + LONGEST_CHARACTER];
    char32_t* charactersEnd = characters;
    const char* validEnd = from;
    std::mbstate_t state = {};
    decoder.in(state, from, to, validEnd, characters, std::end(characters), charactersEnd);
    return std::adjacent_find(from, validEnd, IsSurrogate);
}

}  // namespace

bool IsUtf8(std::istream& text, std::string& error) {
    char block[BLOCK_BYTES + LONGEST_CHARACTER];
    size_t rest = 0;
    Position position;
    do {
        text.read(block + rest, BLOCK_BYTES);
        const char* end = block + rest + text.gcount();
        const char* validEnd = DecodeBlock(block, end);
        position.Advance(block, validEnd);
        rest = static_cast<size_t>(end - validEnd);
        if (rest >= LONGEST_CHARACTER || (rest > 0 && !text)) {
            error = position.Text() + ": not UTF-8";
            return false;
        }
        std::copy(validEnd, end, block);
    } while (text);
    return true;
}
