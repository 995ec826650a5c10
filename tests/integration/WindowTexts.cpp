#include "WindowTexts.h"

namespace {

constexpr char sInterface[] = "org.a11y.atspi.Accessible", sRoot[] = "/org/a11y/atspi/accessible/root";

using Variant = std::unique_ptr<GVariant, void (*)(GVariant*)>;

/// A call that may go to somebody who does not know what it means: null then.
Variant call(const std::string& who, const std::string& object, const char* interface, const char* method,
             GVariant* arguments = nullptr)
{
    return {g_dbus_connection_call_sync(Desktop::instance().bus(), who.c_str(), object.c_str(), interface, method,
                                        arguments, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, 5000, nullptr, nullptr),
            g_variant_unref};
}

std::string nameOf(const std::string& who, const std::string& object)
{
    const Variant answer =
        call(who, object, "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", sInterface, "Name"));
    if (!answer)
        return {};
    GVariant* value = nullptr;
    g_variant_get(answer.get(), "(v)", &value);
    const std::string name = g_variant_get_string(value, nullptr);
    g_variant_unref(value);
    return name;
}

void read(const std::string& who, const std::string& object, std::string& text)
{
    const Variant children = call(who, object, sInterface, "GetChildren");
    if (!children)
        return;
    text += nameOf(who, object) + '\n';
    GVariantIter* each = nullptr;
    g_variant_get(children.get(), "(a(so))", &each);
    const char *owner = nullptr, *child = nullptr;
    while (g_variant_iter_loop(each, "(&s&o)", &owner, &child))
        read(owner, child, text);
    g_variant_iter_free(each);
}

} // namespace

std::vector<std::pair<std::string, std::string>> readable()
{
    return {{"NO_AT_BRIDGE", "0"}, {"AT_SPI_BUS_ADDRESS", Desktop::instance().busAddress()}};
}

std::string windowTexts()
{
    const Variant answer = call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "ListNames");
    std::string text;
    GVariantIter* names = nullptr;
    g_variant_get(answer.get(), "(as)", &names);
    const char* name = nullptr;
    while (g_variant_iter_loop(names, "&s", &name))
        if (*name == ':')
            read(name, sRoot, text);
    g_variant_iter_free(names);
    return text;
}
