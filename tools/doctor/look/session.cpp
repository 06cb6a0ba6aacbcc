#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <set>

#include "aul/session_focus.h"
#include "bus/bus.h"
#include "device_power/standby.h"
#include "gamepad/games/processes.h"
#include "look/looks.h"
#include "screensaver/screensavers.h"

namespace doctor {
namespace {

// How long a bus or a display may take to answer; who answers is not waited for any longer.
constexpr guint kPatienceMs = 5000;

constexpr char kGameMode[] = "com.feralinteractive.GameMode";
constexpr char kSession[] = "session bus";
constexpr char kSystem[] = "system bus";
constexpr char kLogin[] = "org.freedesktop.login1";

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// False after the patience has run out.
bool IterateUntil(GMainContext* context, const std::function<bool()>& condition) {
    bool is_late = false;
    GSource* timer = g_timeout_source_new(kPatienceMs);
    g_source_set_callback(
        timer, [](gpointer late) { return *static_cast<bool*>(late) = true, G_SOURCE_REMOVE; }, &is_late, nullptr);
    g_source_attach(timer, context);
    bool is_met = condition();
    while (!is_met && !is_late) {
        g_main_context_iteration(context, TRUE);
        is_met = condition();
    }
    g_source_destroy(timer);
    g_source_unref(timer);
    return is_met;
}

/// Who is on a bus, and who would be started by a call.
class Names {
public:
    Names(GMainContext* context, Bus::Kind kind) : bus_(context, kind) {
        Ask("ListNames", owned_);
        Ask("ListActivatableNames", activatable_);
    }

    bool IsAnswered() const { return unanswered_ == 0 && is_asked_; }
    bool IsOwned(const std::string& name) const { return owned_.count(name) != 0; }
    bool IsActivatable(const std::string& name) const { return activatable_.count(name) != 0; }
    const std::set<std::string>& Owned() const { return owned_; }

    /// Its answer comes after those to everything that it was asked before.
    void Ping(const std::string& name) {
        Call({name, "/", "org.freedesktop.DBus.Peer", "Ping"}, [](sd_bus_message* /*reply*/) {});
    }

private:
    void Ask(const char* question, std::set<std::string>& names) {
        Call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", question},
             [&names](sd_bus_message* reply) { Read(reply, names); });
    }

    void Call(const Bus::Member& method, const std::function<void(sd_bus_message*)>& read) {
        const bool is_sent = bus_.Call(method, {}, [this, read](sd_bus_message* reply) {
            --unanswered_;
            is_asked_ = is_asked_ && reply != nullptr;
            read(reply);
        });
        unanswered_ += is_sent ? 1 : 0;
        is_asked_ = is_asked_ && is_sent;
    }

    static void Read(sd_bus_message* reply, std::set<std::string>& names) {
        const char* name = nullptr;
        if (reply == nullptr || sd_bus_message_enter_container(reply, 'a', "s") < 0) {
            return;
        }
        while (sd_bus_message_read(reply, "s", &name) > 0) {
            names.insert(name);
        }
    }

    std::set<std::string> owned_;
    std::set<std::string> activatable_;
    int unanswered_ = 0;
    bool is_asked_ = true;
    Bus bus_;
};

/// Everything of the session at once, so that all answers are waited for together.
class Session {
public:
    explicit Session(Notes& notes)
        : notes_(notes),
          context_(g_main_context_new()),
          session_(std::make_unique<Names>(context_, Bus::Kind::kSession)),
          system_(std::make_unique<Names>(context_, Bus::Kind::kSystem)),
          savers_(std::make_unique<Screensavers>(context_, Screensavers::Observer{[](bool) {}, [](bool) {}, [] {}})),
          focus_(std::make_unique<aul::SessionFocus>(
              context_, [this](const std::optional<aul::FocusedWindow>& window) { window_ = window; })) {
        is_answered_ = IterateUntil(context_, [this] { return AreBusesSettled(); });
        AwaitSavers();
        IterateUntil(context_,
                     [this] { return (!is_answered_ || AreBusesSettled()) && IsFocusSettled() && AreSaversSettled(); });
    }

    ~Session() {
        focus_.reset();
        savers_.reset();
        system_.reset();
        session_.reset();
        g_main_context_unref(context_);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Report Findings() const {
        return {{"bus", "Session bus", {BusFinding()}},
                {"games", "Registration of games", {GamesFinding()}},
                {"focus", "Which window has the focus", {FocusFinding()}},
                {"screensaver", "Screensaver", {SaverFinding()}},
                {"standby", "Standby", {StandbyFinding()}}};
    }

private:
    /// They have described themselves before they answer this.
    void AwaitSavers() {
        for (const std::string& name : session_->Owned()) {
            if (name.find(".ScreenSaver") != std::string::npos) {
                session_->Ping(name);
            }
        }
    }

    static std::string XDisplay() { return Variable("DISPLAY"); }
    static std::string Sway() { return Variable("SWAYSOCK"); }
    static std::string I3() { return Variable("I3SOCK"); }
    static bool IsWayland() { return !Variable("WAYLAND_DISPLAY").empty(); }
    static bool HasDisplay() { return IsWayland() || !XDisplay().empty(); }

    bool IsMissing(const std::string& server) const { return !notes_.WhyMissing(server).empty(); }

    bool AreBusesSettled() const {
        return (session_->IsAnswered() || IsMissing(kSession)) && (system_->IsAnswered() || IsMissing(kSystem));
    }

    bool IsFocusSettled() const {
        const std::string socket = !Sway().empty() ? Sway() : XDisplay().empty() ? I3() : "";
        const bool is_sway_settled = socket.empty() || IsMissing("sway at " + socket);
        const bool is_x_settled = XDisplay().empty() || IsMissing("X display " + XDisplay());
        return window_.has_value() || (is_sway_settled && is_x_settled);
    }

    bool AreSaversSettled() const {
        const std::string server = IsWayland() ? "Wayland compositor" : "X display " + XDisplay();
        return !HasDisplay() || IsMissing(server) || savers_->IsHelpless() || IsDisplayReached();
    }

    bool IsDisplayReached() const {
        const std::vector<std::string> reached = savers_->Reached();
        return std::any_of(reached.begin(), reached.end(),
                           [](const std::string& name) { return name.find('.') == std::string::npos; });
    }

    Finding BusFinding() const {
        if (session_->IsAnswered()) {
            return Works("answers");
        }
        const std::string why = notes_.WhyMissing(kSession);
        Finding finding = Lacks("the session bus " + (why.empty() ? "does not answer" : "is not there: " + why),
                                "log in to a session, or: sudo apt install dbus-user-session, and log in again");
        finding.details = {"games that register, screensavers and on-screen keyboards are not known"};
        return finding;
    }

    Finding GamesFinding() const {
        if (session_->IsOwned(kGameMode)) {
            return Works("GameMode runs: games that register with it are known");
        }
        if (session_->IsActivatable(kGameMode)) {
            return Works("GameMode is installed: the first game that registers starts it");
        }
        return Lacks("nobody registers games: only those that read a pad are known",
                     session_->IsAnswered() ? "sudo apt install gamemode" : "see the session bus");
    }

    Finding FocusFinding() const {
        if (window_) {
            return WindowFinding(*window_);
        }
        const std::string otherwise = "; the newest running game counts as having the focus";
        if (XDisplay().empty() && Sway().empty() && I3().empty()) {
            return Lacks("no DISPLAY, SWAYSOCK or I3SOCK is set" + otherwise,
                         IsWayland() ? "use an X11 or a sway session: this compositor tells nobody"
                                     : "run this in the graphical session");
        }
        return Lacks("no window system tells" + WhyNoFocus() + otherwise,
                     "use a window manager that publishes _NET_ACTIVE_WINDOW (openbox, xfwm4), or sway");
    }

    std::string WhyNoFocus() const {
        std::string why;
        for (const std::string& server : {"sway at " + Sway(), "sway at " + I3(), "X display " + XDisplay()}) {
            why += IsMissing(server) ? " (" + server + ": " + notes_.WhyMissing(server) + ")" : "";
        }
        return why;
    }

    static Finding WindowFinding(const aul::FocusedWindow& window) {
        const std::string program = window.pid > 0 ? games::NameOf(window.pid).executable : "";
        Finding finding = Works(window.pid > 0 ? "told; now it is " + (program.empty() ? window.app : program) +
                                                     " (process " + std::to_string(window.pid) + ")"
                                               : "told; now no window has it, or no window manager tells");
        finding.facts["pid"] = window.pid;
        finding.facts["app"] = window.app;
        return finding;
    }

    Finding SaverFinding() const {
        std::string names;
        for (const std::string& name : savers_->Reached()) {
            names += (names.empty() ? "" : ", ") + name;
        }
        if (!names.empty()) {
            return Works("kept away while a pad is used: " + names);
        }
        if (savers_->IsHelpless()) {
            return Lacks("this compositor offers no way to keep its screensaver away by a pad; keys do",
                         "gsettings set org.gnome.desktop.session idle-delay 0");
        }
        return Lacks("no screensaver or display can be reached",
                     HasDisplay() ? "check DISPLAY and WAYLAND_DISPLAY" : "run this in the graphical session");
    }

    Finding StandbyFinding() const {
        std::string sources = system_->IsOwned(kLogin) ? "logind" : "";
        if (HasDisplay()) {
            sources += sources.empty() ? "the display" : " and the display";
        }
        return sources.empty() ? Lacks("neither a display nor logind tells of standby: a pad does not wake the machine",
                                       "sudo apt install libpam-systemd, and log in again")
                               : Works("told by " + sources);
    }

    Notes& notes_;
    GMainContext* const context_;
    std::unique_ptr<Names> session_;
    std::unique_ptr<Names> system_;
    std::unique_ptr<Screensavers> savers_;
    std::unique_ptr<aul::SessionFocus> focus_;
    std::optional<aul::FocusedWindow> window_;
    bool is_answered_ = false;  ///< by both buses, where they are there
};

/// Words of the platform about what it cannot load or use: the X libraries, for example.
void AddErrors(Notes& notes, Report& report) {
    for (const std::string& error : notes.NewErrors()) {
        report.front().findings.push_back(Lacks(error,
                                                "sudo apt install libxcb1 libxcb-res0 libxcb-screensaver0 "
                                                "libxcb-dpms0"));
    }
}

}  // namespace

Report LookAtSession(Notes& notes) {
    const Session session(notes);
    Report report = session.Findings();
    AddErrors(notes, report);
    return report;
}

}  // namespace doctor
