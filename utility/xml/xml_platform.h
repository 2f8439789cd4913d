#ifndef UTILITY_XML_XML_PLATFORM_H
#define UTILITY_XML_XML_PLATFORM_H

namespace utility {

/// Starts the XML library for one user, which ends its use with stop_xml_platform(). False without
/// memory: it is not started then and may be tried again, unless that has happened at a point from
/// where the library can neither go on nor back. It is out of service then, for the rest of the
/// process.
///
/// As XMLPlatformUtils::Initialize(), not to be called in two threads at once.
bool start_xml_platform();

/// Ends the use of one user. Without memory the library stays started, until it is used and stopped
/// again: its end takes memory, too.
void stop_xml_platform();

/// Whether the library is started and not out of service.
bool xml_platform_is_usable();

}  // namespace utility

#endif
