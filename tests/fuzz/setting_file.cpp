// A setting's file and a setting's name, as anybody may have written them.

#include "fuzz.h"
#include "settings/key_file.h"
#include "settings/known_keys.h"
#include "settings/value.h"

namespace {

const fuzz::Folder& Home() {
    static const fuzz::Folder folder;
    fuzz::Set("XDG_RUNTIME_DIR", folder.Path());
    fuzz::Set("XDG_STATE_HOME", folder.Path());
    return folder;
}

void ExpectOneLine(const std::string& text) {
    fuzz::Require(text.find('\n') == std::string::npos, "a value's text is one line");
}

void ExpectToComeBack(const Value& value) {
    const std::string text = FormatValue(value);
    ExpectOneLine(text);
    fuzz::Require(ParseValue(text) == value, "a value that is written is read back");
}

void ReadFile(const std::string& content) {
    const Reading reading = ReadKeyFile(Home().Write("quorvex/memory/a", content));
    fuzz::Require(reading.value.has_value() != reading.problem.has_value(), "a file holds a value or has a problem");
    if (reading.value) {
        ExpectToComeBack(*reading.value);
    } else {
        ExpectOneLine(reading.problem->text);
    }
}

// As a person types it behind the name of a key.
void ReadWord(const std::string& word) {
    for (const KeyType type : {KeyType::kInt, KeyType::kBool, KeyType::kString}) {
        const auto value = ValueFromWord(type, word);
        if (value) {
            fuzz::Require(IsOfType(*value, type), "a typed value is of its key's type");
        }
    }
    NearestKey(word);
    ExpectOneLine(Quoted(word));
}

void Locate(const std::string& key) {
    const auto place = LocateKey(key);
    if (const auto* path = std::get_if<std::string>(&place)) {
        fuzz::Require(path->rfind(Home().Path() + "/quorvex/", 0) == 0, "a key stays in its directory");
        fuzz::Require(path->find("/../") == std::string::npos, "a key does not lead upwards");
        ReadKey(key);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Home();
    switch (input.Byte() % 4) {
        case 0:
            Locate(input.Rest());
            break;
        case 1:
            ReadWord(input.Rest());
            break;
        default:
            ReadFile(input.Rest());
    }
    return 0;
}
