#include "Corvane/Errors/Internal/CFNetworkMessages.hpp"

#include <algorithm>

namespace corvane::detail {

namespace {

struct Row {
  std::int32_t code;
  std::string_view message;
};

// The platform's published codes. The texts are part of the interface, their oddities included: "SOCKSS4",
// "SOCKSS5", -1104 without its full stop, "version.Query" of 100 without its space.
// clang-format off
constexpr Row rows[] = {
    {-73000, "CFNet error: An error from DNS discovery; look at kCFDNSServiceFailureKey to get the error number and interpret using dnssd.h"},
    {-72007, "CFNet error: A search failed because it timed out."},
    {-72006, "CFNet error: Invalid data was passed to a CFNetServices function."},
    {-72005, "CFNet error: The search or service was cancelled."},
    {-72004, "CFNet error: A required argument was not provided or was not valid."},
    {-72003, "CFNet error: A new search could not be started because a search is already in progress."},
    {-72002, "CFNet error: Not used."},
    {-72001, "CFNet error: An attempt was made to use a name that is already in use."},
    {-72000, "CFNet error: An unknown error occurred."},
    {-4000, "Cookie error: The cookie file cannot be parsed."},
    {-3007, "Download/File I/O error: The download failed because decoding of the downloaded data failed to complete."},
    {-3006, "Download/File I/O error: The download failed because decoding of the downloaded data failed mid-stream."},
    {-3005, "Download/File I/O error: The file cannot be moved."},
    {-3004, "Download/File I/O error: The file cannot be removed."},
    {-3003, "Download/File I/O error: The file cannot be written."},
    {-3002, "Download/File I/O error: The file cannot be closed."},
    {-3001, "Download/File I/O error: The file cannot be opened."},
    {-3000, "Download/File I/O error: The file cannot be created."},
    {-2000, "Download/File I/O error: The connection failed because it is being required to return a cached resource, but one is not available."},
    {-1206, "SSL error: The secure connection failed because the server requires a client certificate."},
    {-1205, "SSL error: The secure connection failed because the client’s certificate was rejected."},
    {-1204, "SSL error: The secure connection failed because the server’s certificate is not yet valid."},
    {-1203, "SSL error: The secure connection failed because the server’s certificate has an unknown root."},
    {-1202, "SSL error: The secure connection failed because the server’s certificate is not trusted."},
    {-1201, "SSL error: The secure connection failed because the server’s certificate has an invalid date."},
    {-1200, "SSL error: The secure connection failed for an unknown reason."},
    {-1104, "File error: The file operation failed because the file is outside of the safe area"},
    {-1103, "File error: The file operation failed because the file is too large."},
    {-1102, "File error: The file operation failed because it does not have permission to read the file."},
    {-1101, "File error: The file operation failed because the file is a directory."},
    {-1100, "File error: The file operation failed because the file does not exist."},
    {-1022, "CFURL/NSURL error: The resource could not be loaded because the App Transport Security policy requires the use of a secure connection."},
    {-1021, "CFURL/NSURL error: The connection failed because its request’s body stream was exhausted."},
    {-1020, "CFURL/NSURL error: The connection failed because data use is currently not allowed on the device."},
    {-1019, "CFURL/NSURL error: The connection failed because a call is active."},
    {-1018, "CFURL/NSURL error: The connection failed because international roaming is disabled on the device."},
    {-1017, "CFURL/NSURL error: The connection cannot parse the server’s response."},
    {-1016, "CFURL/NSURL error: The connection cannot decode data encoded with an unknown content encoding."},
    {-1015, "CFURL/NSURL error: The connection cannot decode data encoded with a known content encoding."},
    {-1014, "CFURL/NSURL error: The resource retrieved by the connection is zero bytes."},
    {-1013, "CFURL/NSURL error: The connection failed because authentication is required."},
    {-1012, "CFURL/NSURL error: The connection failed because the user cancelled required authentication."},
    {-1011, "CFURL/NSURL error: The connection received an invalid server response."},
    {-1010, "CFURL/NSURL error: The connection was redirected to a nonexistent location."},
    {-1009, "CFURL/NSURL error: The connection failed because the device is not connected to the internet."},
    {-1008, "CFURL/NSURL error: The connection’s resource is unavailable."},
    {-1007, "CFURL/NSURL error: The HTTP connection failed due to too many redirects."},
    {-1006, "CFURL/NSURL error: The connection failed because the DNS lookup failed."},
    {-1005, "CFURL/NSURL error: The connection failed because the network connection was lost."},
    {-1004, "CFURL/NSURL error: The connection failed because a connection cannot be made to the host."},
    {-1003, "CFURL/NSURL error: The connection failed because the host could not be found."},
    {-1002, "CFURL/NSURL error: The connection failed due to an unsupported URL scheme."},
    {-1001, "CFURL/NSURL error: The connection timed out."},
    {-1000, "CFURL/NSURL error: The connection failed due to a malformed URL."},
    {-999, "CFURL/NSURL error: The connection was cancelled."},
    {-998, "CFURL/NSURL error: An unknown error occurred."},
    {-997, "CFURL/NSURL error: Background session was disconnected."},
    {-996, "CFURL/NSURL error: Background session is in use by another process."},
    {1, "Host error: Indicates that the DNS lookup failed."},
    {2, "Host error: Unknown error. Query the kCFGetAddrInfoFailureKey to get the value returned from getaddrinfo; lookup in netdb.h"},
    {100, "SOCKS error: The SOCKS server rejected access because it does not support connections with the requested SOCKS version.Query kCFSOCKSStatusCodeKey to recover the status code returned by the server"},
    {101, "SOCKS error: The version of SOCKS requested by the server is not supported. Query kCFSOCKSStatusCodeKey to recover the status code returned by the server. Query the kCFSOCKSVersionKey to find the version requested by the server."},
    {110, "SOCKSS4 error: Request rejected or failed by the server."},
    {111, "SOCKSS4 error: Request rejected because SOCKS server cannot connect to identd on the client."},
    {112, "SOCKSS4 error: Request rejected because the client program and identd report different user-ids."},
    {113, "SOCKSS4 error: The status code returned by the server is unknown."},
    {120, "SOCKSS5 error: The stream is not in a state that allows the requested operation."},
    {121, "SOCKSS5 error: The address type returned is not supported."},
    {122, "SOCKSS5 error: The SOCKS server refused the client connection because of bad login credentials."},
    {123, "SOCKSS5 error: The requested method is not supported. Query kCFSOCKSNegotiationMethodKey to find the method requested."},
    {124, "SOCKSS5 error: The client and server could not find a mutually agreeable authentication method."},
    {200, "FTP error: The server returned an unexpected status code. Query the kCFFTPStatusCodeKey to get the status code returned by the server"},
    {300, "HTTP error: The client and server could not agree on a supported authentication type."},
    {301, "HTTP error: The credentials provided for an authenticated connection were rejected by the server."},
    {302, "HTTP error: The connection to the server was dropped. This usually indicates a highly overloaded server."},
    {303, "HTTP error: The HTTP server response could not be parsed."},
    {304, "HTTP error: Too many HTTP redirects occurred before reaching a page that did not redirect the client to another page. This usually indicates a redirect loop."},
    {305, "HTTP error: The requested URL could not be retrieved."},
    {306, "HTTP error: A connection could not be established to the HTTP proxy."},
    {307, "HTTP error: The authentication credentials provided for logging into the proxy were rejected."},
    {308, "HTTP error: An error occurred with the proxy autoconfiguration file."},
    {309, "HTTP error: The authentication credentials provided by the proxy autoconfiguration file were rejected."},
    {310, "HTTP error: A connection could not be established to the HTTPS proxy."},
    {311, "HTTP error: The HTTPS proxy returned an unexpected status code, such as a 3xx redirect."},
};
// clang-format on

static_assert(std::ranges::is_sorted(rows, {}, &Row::code));

}  // namespace

std::optional<std::string_view> cfNetworkMessage(std::int32_t code) {
  const auto* row = std::ranges::lower_bound(rows, code, {}, &Row::code);
  if (row == std::end(rows) || row->code != code) return std::nullopt;
  return row->message;
}

}  // namespace corvane::detail
