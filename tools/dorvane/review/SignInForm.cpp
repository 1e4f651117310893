#include "SignInForm.h"

#include <QUrlQuery>

#include <libxml/HTMLparser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <memory>

namespace {

using Field = SignInForm::Field;

QString attribute(const xmlNode *element, const char *name)
{
    const std::unique_ptr<xmlChar, void (*)(void *)> value(
        xmlGetProp(element, reinterpret_cast<const xmlChar *>(name)), [](void *text) { xmlFree(text); });
    return value ? QString::fromUtf8(reinterpret_cast<const char *>(value.get())) : QString();
}

bool has(const xmlNode *element, const char *name)
{
    return xmlHasProp(element, reinterpret_cast<const xmlChar *>(name)) != nullptr;
}

bool isElement(const xmlNode *node, const char *name)
{
    return node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, reinterpret_cast<const xmlChar *>(name));
}

// The node behind, in the order of the document, inside `top`; a page may be nested deeply.
const xmlNode *nextNode(const xmlNode *node, const xmlNode *top)
{
    if (node->children)
        return node->children;
    while (node != top && !node->next)
        node = node->parent;
    return node == top ? nullptr : node->next;
}

void addField(const xmlNode *node, SignInForm *form, bool *hasButton)
{
    const bool isButton = isElement(node, "button");
    if ((!isButton && !isElement(node, "input")) || has(node, "disabled"))
        return;
    const QString given = attribute(node, "type").toLower();
    const QString type = !given.isEmpty() ? given
                         : isButton       ? QStringLiteral("submit")
                                          : QStringLiteral("text");
    if (type == u"submit" && std::exchange(*hasButton, true))
        return; // only the button that is pressed is sent
    const bool isSwitch = type == u"checkbox" || type == u"radio";
    const QString name = attribute(node, "name");
    if (name.isEmpty() || type == u"button" || type == u"reset" || type == u"image" || type == u"file" ||
        (isSwitch && !has(node, "checked")))
        return;
    const bool isOn = isSwitch && !has(node, "value");
    form->fields.append({name, type, isOn ? QStringLiteral("on") : attribute(node, "value")});
}

SignInForm formOf(const xmlNode *element, const QUrl &pageUrl)
{
    SignInForm form;
    form.action = pageUrl.resolved(QUrl(attribute(element, "action")));
    form.method = attribute(element, "method").toLower() == u"post" ? "POST" : "GET";
    bool hasButton = false;
    for (const xmlNode *node = element; node; node = nextNode(node, element))
        addField(node, &form, &hasButton);
    return form;
}

} // namespace

bool SignInForm::asksForPassword() const
{
    return std::any_of(fields.begin(), fields.end(),
                       [](const Field &field) { return field.type == u"password"; });
}

void SignInForm::fillIn(const QString &user, const QString &password)
{
    bool userIsIn = false;
    for (Field &field : fields) {
        if (field.type == u"password")
            field.value = password;
        else if ((field.type == u"text" || field.type == u"email") && !std::exchange(userIsIn, true))
            field.value = user;
    }
}

QByteArray SignInForm::encoded() const
{
    QByteArrayList pairs;
    for (const Field &field : fields)
        pairs.append(QUrl::toPercentEncoding(field.name) + '=' + QUrl::toPercentEncoding(field.value));
    return pairs.join('&');
}

std::optional<SignInForm> SignInForm::of(const QByteArray &page, const QUrl &pageUrl)
{
    constexpr int options = HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                            HTML_PARSE_NONET | HTML_PARSE_COMPACT;
    const std::unique_ptr<xmlDoc, void (*)(xmlDocPtr)> document(
        htmlReadMemory(page.constData(), int(page.size()), nullptr, "UTF-8", options), xmlFreeDoc);
    const xmlNode *root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    std::optional<SignInForm> first;
    for (const xmlNode *node = root; node; node = nextNode(node, root)) {
        if (!isElement(node, "form"))
            continue;
        const SignInForm form = formOf(node, pageUrl);
        if (form.action.scheme() != u"http" && form.action.scheme() != u"https")
            continue;
        if (form.asksForPassword())
            return form;
        if (!first)
            first = form;
    }
    return first;
}
