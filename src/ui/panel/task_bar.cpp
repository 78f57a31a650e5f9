#include "task_bar.h"

#include <QGuiApplication>
#include <QWidget>

#ifdef BRINDLOW_HAVE_XCB
#include <xcb/xcb.h>

#include <array>
#include <cstring>
#endif

namespace TaskBar {

#ifdef BRINDLOW_HAVE_XCB
namespace {

xcb_atom_t atom(xcb_connection_t* connection, const char* name)
{
    const xcb_intern_atom_cookie_t cookie = xcb_intern_atom(connection, 0, std::strlen(name), name);
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    free(reply);
    return result;
}

} // namespace
#endif

void skip(QWidget* window)
{
#ifdef BRINDLOW_HAVE_XCB
    auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return;
    xcb_connection_t* connection = x11->connection();
    // Written while the window is unmapped: Qt keeps the states it finds there when it maps it.
    const std::array<xcb_atom_t, 2> states {atom(connection, "_NET_WM_STATE_SKIP_TASKBAR"),
                                            atom(connection, "_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(connection,
                        XCB_PROP_MODE_REPLACE,
                        xcb_window_t(window->winId()),
                        atom(connection, "_NET_WM_STATE"),
                        XCB_ATOM_ATOM,
                        32,
                        states.size(),
                        states.data());
    xcb_flush(connection);
#else
    (void)window;
#endif
}

} // namespace TaskBar
