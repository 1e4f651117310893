#include "DVPopupRootViewController.h"

#include "DVPopupContentView.h"
#include "DVPopupWindow.h"

DVPopupRootViewController::DVPopupRootViewController()
    : m_popup(new DVPopupContentView(this))
{
    m_popup->m_owner = this;
    m_popup->setAttribute(Qt::WA_DeleteOnClose);
}

DVPopupRootViewController::~DVPopupRootViewController()
{
    if (!m_popup)
        return; // it is what deletes this
    m_popup->m_owner = nullptr;
    if (DVPopupWindow::isMade()) // not any more behind the application object, where none can be made
        m_popup->dismissAnimated(false);
    m_popup->deleteLater();
}
