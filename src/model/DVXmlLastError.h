// DVXmlLastError: keeps libxml2's last error of the thread as the host left it.
#pragma once

#include <libxml/xmlerror.h>

// A parser leaves a copy of its last error in a variable of the thread, whatever handlers it has, and
// the host may look at it. While a DVXmlLastError lives parsers may run; then all is as before.
class DVXmlLastError
{
public:
    DVXmlLastError()
    {
        if (const xmlError *error = xmlGetLastError())
            m_had = xmlCopyError(const_cast<xmlError *>(error), &m_error) == 0;
    }
    ~DVXmlLastError()
    {
        if (m_had)
            xmlCopyError(&m_error, &xmlLastError);
        else
            xmlResetLastError();
        xmlResetError(&m_error);
    }
    DVXmlLastError(const DVXmlLastError &) = delete;
    DVXmlLastError &operator=(const DVXmlLastError &) = delete;

private:
    xmlError m_error{};
    bool m_had = false;
};
