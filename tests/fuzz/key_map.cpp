// The user's key map.

#include "virtual_key/key_map.h"

#include "fuzz.h"
#include "platform/dlog.h"
#include "virtual_key/key_codes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> complaints;
    const KeyTable table = ReadKeyTable(text, complaints);
    for (const std::string& complaint : complaints) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "%s", complaint.c_str());
    }
    for (const auto& [code, sent] : table) {
        fuzz::Require(IsInKernelsRange(code), "a key is sent in the place of a key");
        fuzz::Require(WhyNoKey(sent) == nullptr, "what is sent can be sent");
    }
    KeyMap map;
    map.Replace(table);
    for (const auto& [code, sent] : table) {
        fuzz::Require(map.Sent(code) == sent, "the key of the text is sent");
    }
    return 0;
}
