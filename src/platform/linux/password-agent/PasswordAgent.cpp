#include "PasswordAgent.h"

#define POLKIT_AGENT_I_KNOW_API_IS_SUBJECT_TO_CHANGE // as its headers want

#include <memory>
#include <polkit/polkit.h>
#include <polkitagent/polkitagent.h>
#include <string_view>
#include <utility>

namespace platform {

namespace {

constexpr guint kSeconds = 60; // PAM lets people wait after a wrong password

struct Unreferencer {
    template <typename Object>
    void operator()(Object* object) const {
        g_object_unref(object);
    }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Unreferencer>;

// What the agent knows; used by the calling thread alone.
struct Conversation {
    uid_t administrator = 0;
    SecretText& password;
    PolkitAgentSession* session = nullptr; // with PAM, while there is one
    GTask* task = nullptr;                 // that polkit waits for meanwhile
    bool wasAsked = false;
};

struct PasswordListener {
    PolkitAgentListener parent;
    Conversation* conversation;
};

struct PasswordListenerClass {
    PolkitAgentListenerClass parent;
};

// NOLINTBEGIN: the macro's own code
G_DEFINE_TYPE(PasswordListener, password_listener, POLKIT_AGENT_TYPE_LISTENER)
// NOLINTEND

void answer(PolkitAgentSession* session, const char* /*request*/, gboolean /*isShown*/,
            Conversation* conversation) {
    // A second question is not for a password.
    if (std::exchange(conversation->wasAsked, true)) {
        polkit_agent_session_cancel(session);
        return;
    }
    polkit_agent_session_response(session, conversation->password.view().data());
    conversation->password.wipe();
}

void complete(PolkitAgentSession* /*session*/, gboolean /*gained*/, Conversation* conversation) {
    const Owned<PolkitAgentSession> session(std::exchange(conversation->session, nullptr));
    const Owned<GTask> task(std::exchange(conversation->task, nullptr));
    g_task_return_boolean(task.get(), TRUE); // polkit itself knows by now whether the password was right
}

PolkitIdentity* find(GList* identities, uid_t user) {
    for (auto* item = identities; item; item = item->next) {
        if (POLKIT_IS_UNIX_USER(item->data) &&
            static_cast<uid_t>(polkit_unix_user_get_uid(POLKIT_UNIX_USER(item->data))) == user) {
            return POLKIT_IDENTITY(item->data);
        }
    }
    return nullptr;
}

void initiate(PolkitAgentListener* listener, const gchar* action, const gchar* /*message*/,
              const gchar* /*icon*/, PolkitDetails* /*details*/, const gchar* cookie, GList* identities,
              GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
    auto* conversation = reinterpret_cast<PasswordListener*>(listener)->conversation;
    Owned<GTask> task(g_task_new(listener, cancellable, callback, data));
    auto* identity = find(identities, conversation->administrator);
    if (conversation->session || !identity || std::string_view(action) != PolkitService::kAction) {
        g_task_return_new_error(task.get(), POLKIT_ERROR, POLKIT_ERROR_CANCELLED, "%s", "not to be answered");
        return;
    }
    conversation->task = task.release();
    conversation->session = polkit_agent_session_new(identity, cookie);
    g_signal_connect(conversation->session, "request", G_CALLBACK(answer), conversation);
    g_signal_connect(conversation->session, "completed", G_CALLBACK(complete), conversation);
    polkit_agent_session_initiate(conversation->session);
}

gboolean finish(PolkitAgentListener* /*listener*/, GAsyncResult* result, GError** error) {
    return g_task_propagate_boolean(G_TASK(result), error);
}

void password_listener_class_init(PasswordListenerClass* type) {
    type->parent.initiate_authentication = initiate;
    type->parent.initiate_authentication_finish = finish;
}

void password_listener_init(PasswordListener* /*listener*/) {}

// A main loop of the calling thread's own.
class ThreadContext {
public:
    ThreadContext() : context_(g_main_context_new()) { g_main_context_push_thread_default(context_); }
    ~ThreadContext() {
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }
    ThreadContext(const ThreadContext&) = delete;
    ThreadContext& operator=(const ThreadContext&) = delete;

    GMainContext* get() const { return context_; }

    // The result of what has been begun with `remember` as its callback.
    Owned<GAsyncResult> wait(GAsyncResult*& result) const {
        while (!result) {
            g_main_context_iteration(context_, TRUE);
        }
        return Owned<GAsyncResult>(std::exchange(result, nullptr));
    }

    // Does what has been begun and needs no waiting.
    void finish() const {
        while (g_main_context_iteration(context_, FALSE) != FALSE) {
        }
    }

    static void remember(GObject* /*source*/, GAsyncResult* result, gpointer place) {
        *static_cast<GAsyncResult**>(place) = G_ASYNC_RESULT(g_object_ref(result));
    }

private:
    GMainContext* context_;
};

// Ends what takes too long.
class Limit {
public:
    explicit Limit(const ThreadContext& context)
        : cancellable_(g_cancellable_new()), timer_(g_timeout_source_new_seconds(kSeconds)) {
        g_source_set_callback(
            timer_,
            [](gpointer cancellable) -> gboolean {
                g_cancellable_cancel(G_CANCELLABLE(cancellable));
                return G_SOURCE_REMOVE;
            },
            cancellable_.get(), nullptr);
        g_source_attach(timer_, context.get());
    }
    ~Limit() {
        g_source_destroy(timer_);
        g_source_unref(timer_);
    }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

    GCancellable* cancellable() const { return cancellable_.get(); }

private:
    Owned<GCancellable> cancellable_;
    GSource* timer_;
};

} // namespace

PasswordVerdict vtAuthorizeWithPassword(const PolkitProcess& subject, uid_t administrator,
                                        SecretText& password) {
    const ThreadContext context;
    const Limit limit(context);
    GAsyncResult* result = nullptr;

    g_bus_get(G_BUS_TYPE_SYSTEM, limit.cancellable(), ThreadContext::remember, &result);
    const Owned<GDBusConnection> bus(g_bus_get_finish(context.wait(result).get(), nullptr));
    if (!bus) {
        return PasswordVerdict::None;
    }
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE); // the bus may go, this program stays
    polkit_authority_get_async(limit.cancellable(), ThreadContext::remember, &result);
    const Owned<::PolkitAuthority> authority(
        polkit_authority_get_finish(context.wait(result).get(), nullptr));
    if (!authority) {
        return PasswordVerdict::None;
    }

    const Owned<PolkitSubject> process(polkit_unix_process_new_for_owner(subject.process, subject.startTime,
                                                                         static_cast<gint>(subject.user)));
    Conversation conversation{.administrator = administrator, .password = password};
    const Owned<PasswordListener> listener(
        static_cast<PasswordListener*>(g_object_new(password_listener_get_type(), nullptr)));
    listener->conversation = &conversation;
    auto* registration =
        polkit_agent_listener_register(&listener->parent, POLKIT_AGENT_REGISTER_FLAGS_NONE, process.get(),
                                       "/com/vantorel/launcher/PasswordAgent", limit.cancellable(), nullptr);
    if (!registration) {
        return PasswordVerdict::None;
    }
    polkit_authority_check_authorization(authority.get(), process.get(), PolkitService::kAction, nullptr,
                                         POLKIT_CHECK_AUTHORIZATION_FLAGS_ALLOW_USER_INTERACTION,
                                         limit.cancellable(), ThreadContext::remember, &result);
    const Owned<PolkitAuthorizationResult> outcome(
        polkit_authority_check_authorization_finish(authority.get(), context.wait(result).get(), nullptr));
    polkit_agent_listener_unregister(registration);
    if (conversation.session) { // the time was up
        polkit_agent_session_cancel(conversation.session);
    }
    context.finish();
    if (!outcome) {
        return PasswordVerdict::None;
    }
    return polkit_authorization_result_get_is_authorized(outcome.get()) != FALSE ? PasswordVerdict::Right
                                                                                 : PasswordVerdict::Wrong;
}

} // namespace platform
