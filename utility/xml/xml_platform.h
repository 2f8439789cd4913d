// Starts and stops the XML library, also when memory is short.
#ifndef UTILITY_XML_XML_PLATFORM_H
#define UTILITY_XML_XML_PLATFORM_H

namespace utility {

/// Starts the XML library for one user, who ends the use with stop_xml_platform(). False when
/// memory runs out. Then the library is not started and the user may try again, with one exception:
/// at some points of its start the library can go neither on nor back. Then it is out of service
/// for the rest of the process.
///
/// As with XMLPlatformUtils::Initialize(), two threads must not call this at once.
bool start_xml_platform();

/// Ends the use of one user. Stopping the library takes memory, too: without memory the library
/// stays started until another user has started and stopped it.
void stop_xml_platform();

/// Whether the library is started and not out of service.
bool xml_platform_is_usable();

}  // namespace utility

#endif
