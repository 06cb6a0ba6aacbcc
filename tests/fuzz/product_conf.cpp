// What the user says of the machine, and its locale.

#include <climits>
#include <cstdlib>

#include "fuzz.h"
#include "platform/system_info.h"
#include "system_info/product_conf.h"

namespace {

constexpr int kLocalSet = 284;

const fuzz::Folder& Home() {
    static const fuzz::Folder folder;
    fuzz::Set("XDG_CONFIG_HOME", folder.Path());
    return folder;
}

// An answer that is not there leaves the value alone.
void Ask() {
    int number = INT_MIN;
    const int result = system_info_get_value_int(kLocalSet, &number);
    fuzz::Require(result == 0 || number == INT_MIN, "a number that is not known is left alone");
    ProductFlag("smart-monitor");
    ProductNumber("local-set");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    fuzz::Set("LC_ALL", input.Text().c_str());
    const std::string content = input.Rest();
    Home().Write("quorvex/product.conf", content);
    Ask();
    return 0;
}
