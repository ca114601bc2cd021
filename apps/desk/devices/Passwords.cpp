#include "apps/desk/devices/Passwords.h"

#include <libsecret/secret.h>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

constexpr const char* kAttribute = "server";

const SecretSchema* schema() {
  static const SecretSchema one = [] {
    SecretSchema made{};
    made.name = "example.quorvid.Desk.Password";
    // GNOME's keyring finds nothing by a schema's name while it is locked, and would not ask to be
    // unlocked. The identifiers of servers are unique.
    made.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
    made.attributes[0] = {kAttribute, SECRET_SCHEMA_ATTRIBUTE_STRING};
    return made;
  }();
  return &one;
}

// A call under way: what comes back after its owner has gone is dropped.
template <class Result>
struct Call {
  std::weak_ptr<int> life;
  std::function<void(const Result&)> done;
};
template <class Result>
gpointer callOf(const Life& life, std::function<void(const Result&)> done) {
  auto call = std::make_unique<Call<Result>>();
  call->life = life.token();
  call->done = std::move(done);
  return call.release();
}
template <class Result>
void finish(gpointer data, const Result& result) {
  const std::unique_ptr<Call<Result>> call(static_cast<Call<Result>*>(data));
  if (!call->life.expired()) call->done(result);
}

bool isNotThere(const GError* error) {
  for (const int code : {G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER,
                         G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND}) {
    if (g_error_matches(error, G_DBUS_ERROR, code) != 0) return true;
  }
  return false;
}

void lookedUp(GObject*, GAsyncResult* result, gpointer data) {
  GError* failed = nullptr;
  char* const secret = secret_password_lookup_finish(result, &failed);
  const ErrorPtr error(failed);
  Passwords::Found found;
  if (secret != nullptr) {
    found = {Passwords::Store::Known, secret, ""};
    secret_password_free(secret);
  } else if (failed != nullptr && isNotThere(failed)) {
    found.store = Passwords::Store::NotThere;
  } else if (failed != nullptr) {
    found = {Passwords::Store::Failed, "",
             trf("The password store can't be used: {}", failed->message)};
  }
  finish(data, found);
}

// What is found but wasn't given is locked: whoever was asked to unlock it didn't.
void searched(GObject*, GAsyncResult* result, gpointer data) {
  GError* failed = nullptr;
  GList* const items = secret_password_search_finish(result, &failed);
  const ErrorPtr error(failed);
  Passwords::Found found;
  if (items != nullptr) {
    found = {Passwords::Store::Failed, "", tr("The password store was not unlocked.")};
  }
  g_list_free_full(items, g_object_unref);
  finish(data, found);
}

void stored(GObject*, GAsyncResult* result, gpointer data) {
  GError* failed = nullptr;
  const bool isStored = secret_password_store_finish(result, &failed) != 0;
  const ErrorPtr error(failed);
  std::string trouble;
  if (!isStored && (failed == nullptr || isNotThere(failed))) {
    trouble = tr("There is no password store; the password is kept until the program ends.");
  } else if (!isStored) {
    trouble = trf("The password is kept until the program ends only: {}", failed->message);
  }
  finish(data, trouble);
}

// What isn't there any more needs no word.
void cleared(GObject*, GAsyncResult* result, gpointer) {
  secret_password_clear_finish(result, nullptr);
}

}  // namespace

void Passwords::find(const std::string& server, const std::function<void(const Found&)>& done) {
  const auto known = memory_.find(server);
  if (known != memory_.end()) return done({Store::Known, known->second, ""});
  const std::function<void(const Found&)> looked = [this, server, done](const Found& found) {
    if (found.store != Store::Empty) return done(found);
    secret_password_search(schema(), SECRET_SEARCH_NONE, nullptr, &searched, callOf(life_, done),
                           kAttribute, server.c_str(), nullptr);
  };
  secret_password_lookup(schema(), nullptr, &lookedUp, callOf(life_, looked), kAttribute,
                         server.c_str(), nullptr);
}

void Passwords::keep(const std::string& server, const std::string& title,
                     const std::string& password, std::function<void(const std::string&)> done) {
  keepInMemory(server, password);
  secret_password_store(schema(), SECRET_COLLECTION_DEFAULT, title.c_str(), password.c_str(),
                        nullptr, &stored, callOf(life_, std::move(done)), kAttribute,
                        server.c_str(), nullptr);
}

void Passwords::keepInMemory(const std::string& server, const std::string& password) {
  memory_[server] = password;
}

void Passwords::forget(const std::string& server) {
  memory_.erase(server);
  secret_password_clear(schema(), nullptr, &cleared, nullptr, kAttribute, server.c_str(), nullptr);
}

}  // namespace quorvid::desk
