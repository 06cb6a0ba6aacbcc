#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "CVConf.h"
#include "EventHandler/src/AppLauncher.h"
#include "content.h"
#include "gamepad/button_table.h"
#include "look/looks.h"
#include "platform/was.h"
#include "virtual_key/key_codes.h"

namespace doctor {
namespace {

/// What the service's own loader said, by the beginnings of its messages.
class Loaded {
public:
    explicit Loaded(const std::vector<Message>& messages) {
        for (const Message& message : messages) {
            Take(message.text);
        }
    }

    std::string path;
    std::string default_path;
    std::string error;  ///< empty: all was read
    int entries = 0;    ///< read before the error
    bool is_unreadable = false;

private:
    void Take(const std::string& text) {
        path = path.empty() ? Bracketed(text, "sConfigureFilePath[") : path;
        default_path = default_path.empty() ? Bracketed(text, "Default[") : default_path;
        entries += text.find("global_config list[") == 0 ? 1 : 0;
        for (const char* beginning : {"Open[", "Parse json file err[", "Exception["}) {
            error = error.empty() ? Bracketed(text, beginning) : error;
            is_unreadable = is_unreadable || text.find("Open[") == 0;
        }
    }

    static std::string Bracketed(const std::string& text, const std::string& beginning) {
        const std::size_t end = text.rfind(']');
        return text.find(beginning) == 0 && end != std::string::npos
                   ? text.substr(beginning.size(), end - beginning.size())
                   : "";
    }
};

Loaded LoadAsTheService() {
    Notes notes;
    const Catching catching(notes);
    AppLauncher launcher;
    launcher.Initialize();
    return Loaded(notes.All());
}

std::string OnOneLine(const std::string& text) {
    std::string line;
    for (const char letter : text) {
        const bool is_blank = letter == '\n' || letter == ' ';
        if (!is_blank) {
            line += letter;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

struct Place {
    std::ptrdiff_t line;
    std::ptrdiff_t column;
};

/// The document with the places of its parts.
class Document {
public:
    explicit Document(const std::string& text) : text_(text) {
        Json::CharReaderBuilder builder;
        const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
        std::string errors;
        try {
            reader->parse(text_.data(), text_.data() + text_.size(), &root, &errors);
        } catch (const std::exception&) {
            root = Json::Value();  // nested too deep, which the service's loader has told
        }
    }

    Place PlaceOf(const Json::Value& value) const {
        const auto end = text_.begin() + std::min<std::ptrdiff_t>(value.getOffsetStart(), std::ptrdiff_t(text_.size()));
        const auto line_start = std::find(std::make_reverse_iterator(end), text_.rend(), '\n').base();
        return {std::count(text_.begin(), end, '\n') + 1, end - line_start + 1};
    }

    Json::Value root;

private:
    const std::string text_;
};

std::string Entries(int count) {
    return std::to_string(count) + (count == 1 ? " entry" : " entries");
}

std::string Text(const Place& place) {
    return "line " + std::to_string(place.line) + ", column " + std::to_string(place.column);
}

/// What the service reads of an entry.
struct Entry {
    int button = 0;
    std::string title;
    int key = 0;
};

bool HasButton(int number) {
    return std::any_of(gamepad::Buttons().begin(), gamepad::Buttons().end(),
                       [number](const gamepad::ButtonNumber& button) { return button.number == number; });
}

std::vector<std::string> UnknownMembers(const Json::Value& element) {
    static const std::set<std::string> kKnown{"key_code", "runtitle", "virtual_key"};
    std::vector<std::string> unknown;
    for (const std::string& name : element.getMemberNames()) {
        if (kKnown.count(name) == 0) {
            unknown.push_back(name);
        }
    }
    return unknown;
}

class Bindings {
public:
    Bindings(const Loaded& loaded, const Document& document) : loaded_(loaded), document_(document) {}

    Section Findings() {
        const Json::Value& list =
            document_.root.isObject() ? document_.root["global_config"] : Json::Value::nullSingleton();
        CountLaterOnes(list);
        for (int i = 0; i < loaded_.entries; ++i) {
            AddEntry(list[static_cast<Json::ArrayIndex>(i)], i);
        }
        if (!loaded_.error.empty()) {
            AddError(list);
        }
        AddUnknownRootMembers();
        return section_;
    }

    const std::set<std::string>& Titles() const { return titles_; }

private:
    static Entry Read(const Json::Value& element) {
        return {element["key_code"].asInt(), element["runtitle"].asString(), element["virtual_key"].asInt()};
    }

    void CountLaterOnes(const Json::Value& list) {
        for (int i = 0; i < loaded_.entries; ++i) {
            last_[Read(list[static_cast<Json::ArrayIndex>(i)]).button] = i;
        }
    }

    void AddEntry(const Json::Value& element, int index) {
        const Entry entry = Read(element);
        Finding finding = Verdict(element, entry, index);
        finding.facts["line"] = static_cast<Json::Int64>(document_.PlaceOf(element).line);
        finding.facts["key_code"] = entry.button;
        finding.facts["runtitle"] = entry.title;
        finding.facts["virtual_key"] = entry.key;
        section_.findings.push_back(finding);
    }

    Finding Verdict(const Json::Value& element, const Entry& entry, int index) {
        const std::string place = Text(document_.PlaceOf(element)) + ": ";
        const std::string button = NameOf({1, entry.button, 1});
        if (last_[entry.button] != index) {
            return Lacks(place + "duplicate: " + button + " is bound again below, and that counts",
                         "delete this entry");
        }
        if (!HasButton(entry.button)) {
            return Lacks(place + "no pad has button " + std::to_string(entry.button), "correct its \"key_code\"");
        }
        if (entry.title.empty()) {
            return Lacks(place + "empty title: " + button + " behaves as if it were not bound",
                         "give it a \"runtitle\", or delete the entry");
        }
        titles_.insert(entry.title);
        if (const char* why = WhyNoKey(entry.key)) {
            return Lacks(place + "unknown key " + std::to_string(entry.key) + ": " + why,
                         "correct its \"virtual_key\"");
        }
        return WithUnknownMembers(Works(place + button + " opens \"" + entry.title + "\" by " + KeyText(entry.key)),
                                  element);
    }

    static Finding WithUnknownMembers(Finding finding, const Json::Value& element) {
        for (const std::string& name : UnknownMembers(element)) {
            finding.mark = Mark::kLacks;
            finding.text += "; nobody reads its \"" + name + "\"";
            finding.remedy = "delete it, or correct its name: key_code, runtitle, virtual_key";
        }
        return finding;
    }

    /// The service stops at the first entry that is no good.
    void AddError(const Json::Value& list) {
        const auto index = static_cast<Json::ArrayIndex>(loaded_.entries);
        const bool is_entry = !loaded_.is_unreadable && list.isArray() && index < list.size();
        const std::string place =
            is_entry ? " (entry " + std::to_string(index + 1) + ", " + Text(document_.PlaceOf(list[index])) + ")" : "";
        section_.findings.push_back(
            Broken(loaded_.path + ": " + (loaded_.is_unreadable ? "cannot be opened" : OnOneLine(loaded_.error)) +
                       place + "; " + Entries(loaded_.entries) + " before it",
                   loaded_.is_unreadable ? "chmod u+r '" + loaded_.path + "'" : "correct this place in the file"));
    }

    void AddUnknownRootMembers() {
        if (!document_.root.isObject() || !loaded_.error.empty()) {
            return;
        }
        for (const std::string& name : document_.root.getMemberNames()) {
            if (name != "global_config") {
                section_.findings.push_back(
                    Lacks(Text(document_.PlaceOf(document_.root[name])) + ": nobody reads \"" + name + "\"",
                          "delete it, or correct its name: global_config"));
            }
        }
    }

    const Loaded& loaded_;
    const Document& document_;
    std::map<int, int> last_;  // by button: the index of its last entry
    std::set<std::string> titles_;
    Section section_{"bindings", "Buttons that open applications", {}};
};

/// Asked in the way of the service.
Finding TermsFinding() {
    return CVConf::IsPolicyAccpted()
               ? Works("the terms are accepted: a bound button has its title looked up")
               : Lacks("the terms are not accepted: a bound button sends its key, and no title is looked up",
                       "quorvex-settings set db/menu/homeview/homedatacontrol/defaultdisclaimeragree 1");
}

struct StoreAnswer {
    was_app_status_e status;
    std::string id;
};

void OnAnswer(const char* id, was_app_status_e status, const char* /*etag*/, void* promise) {
    static_cast<std::promise<StoreAnswer>*>(promise)->set_value({status, id != nullptr ? id : ""});
}

/// The platform answers each query that has started, within ten seconds.
StoreAnswer AskStore(const std::string& title) {
    std::promise<StoreAnswer> promise;
    std::future<StoreAnswer> answer = promise.get_future();
    if (was_request_appid_by_runtitle(title.c_str(), "", OnAnswer, &promise) != 0) {
        return {2, ""};
    }
    return answer.get();
}

Finding TitleFinding(const std::string& title) {
    constexpr was_app_status_e kInstalled = 0;
    constexpr was_app_status_e kNotInstalled = 1;
    const StoreAnswer answer = AskStore(title);
    const std::string quoted = "\"" + title + "\"";
    Finding finding;
    if (answer.status == kInstalled) {
        finding = Works(quoted + " is " + answer.id);
    } else if (answer.status != kNotInstalled) {
        finding = Lacks(quoted + " cannot be looked up", "see the catalogue");
    } else if (answer.id.empty()) {
        finding = Lacks(quoted + " is not known: its button does what it does without a binding",
                        "sudo appstreamcli refresh, or correct its \"runtitle\"");
    } else {
        finding = Lacks(quoted + " is known as " + answer.id + " and not installed", "install it");
    }
    finding.facts["runtitle"] = title;
    finding.facts["status"] = answer.status;
    finding.facts["id"] = answer.id;
    return finding;
}

Section LookAtStore(const std::set<std::string>& titles, Notes& notes) {
    Section section{"store", "Catalogue of applications", {}};
    constexpr was_app_status_e kUnknownError = 2;
    // A title that nobody has: whether there is an answer at all.
    if (AskStore("quorvex-doctor: nothing is called so").status < kUnknownError) {
        section.findings.push_back(Works("answers"));
        for (const std::string& title : titles) {
            section.findings.push_back(TitleFinding(title));
        }
    }
    for (const std::string& error : notes.NewErrors()) {
        section.findings.push_back(Lacks(error, "sudo apt install --reinstall quorvex"));
    }
    return section;
}

}  // namespace

Report LookAtBindings(Notes& notes) {
    const Loaded loaded = LoadAsTheService();
    Section section{"bindings", "Buttons that open applications", {}};
    std::set<std::string> titles;
    if (loaded.path.empty()) {
        section.findings.push_back(Works("none: there is no " + loaded.default_path));
    } else {
        const Document document(loaded.is_unreadable ? "" : ContentOf(loaded.path));
        Bindings bindings(loaded, document);
        section = bindings.Findings();
        titles = bindings.Titles();
        Finding file = Works(loaded.path + ": " + Entries(loaded.entries));
        file.facts["path"] = loaded.path;
        file.facts["entries"] = loaded.entries;
        section.findings.insert(section.findings.begin(), file);
        if (!titles.empty()) {
            section.findings.push_back(TermsFinding());
        }
    }
    return {LookAtStore(titles, notes), section};
}

}  // namespace doctor
