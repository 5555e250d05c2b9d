#include "Corvane/Errors/CFNetworkErrors.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane {
namespace {

using platform::Dictionary;
using platform::Error;
using platform::NSError;

constexpr const char* messages = R"(
-73000 CFNet error: An error from DNS discovery; look at kCFDNSServiceFailureKey to get the error number and interpret using dnssd.h
-72007 CFNet error: A search failed because it timed out.
-72006 CFNet error: Invalid data was passed to a CFNetServices function.
-72005 CFNet error: The search or service was cancelled.
-72004 CFNet error: A required argument was not provided or was not valid.
-72003 CFNet error: A new search could not be started because a search is already in progress.
-72002 CFNet error: Not used.
-72001 CFNet error: An attempt was made to use a name that is already in use.
-72000 CFNet error: An unknown error occurred.
-4000 Cookie error: The cookie file cannot be parsed.
-3007 Download/File I/O error: The download failed because decoding of the downloaded data failed to complete.
-3006 Download/File I/O error: The download failed because decoding of the downloaded data failed mid-stream.
-3005 Download/File I/O error: The file cannot be moved.
-3004 Download/File I/O error: The file cannot be removed.
-3003 Download/File I/O error: The file cannot be written.
-3002 Download/File I/O error: The file cannot be closed.
-3001 Download/File I/O error: The file cannot be opened.
-3000 Download/File I/O error: The file cannot be created.
-2000 Download/File I/O error: The connection failed because it is being required to return a cached resource, but one is not available.
-1206 SSL error: The secure connection failed because the server requires a client certificate.
-1205 SSL error: The secure connection failed because the client’s certificate was rejected.
-1204 SSL error: The secure connection failed because the server’s certificate is not yet valid.
-1203 SSL error: The secure connection failed because the server’s certificate has an unknown root.
-1202 SSL error: The secure connection failed because the server’s certificate is not trusted.
-1201 SSL error: The secure connection failed because the server’s certificate has an invalid date.
-1200 SSL error: The secure connection failed for an unknown reason.
-1104 File error: The file operation failed because the file is outside of the safe area
-1103 File error: The file operation failed because the file is too large.
-1102 File error: The file operation failed because it does not have permission to read the file.
-1101 File error: The file operation failed because the file is a directory.
-1100 File error: The file operation failed because the file does not exist.
-1022 CFURL/NSURL error: The resource could not be loaded because the App Transport Security policy requires the use of a secure connection.
-1021 CFURL/NSURL error: The connection failed because its request’s body stream was exhausted.
-1020 CFURL/NSURL error: The connection failed because data use is currently not allowed on the device.
-1019 CFURL/NSURL error: The connection failed because a call is active.
-1018 CFURL/NSURL error: The connection failed because international roaming is disabled on the device.
-1017 CFURL/NSURL error: The connection cannot parse the server’s response.
-1016 CFURL/NSURL error: The connection cannot decode data encoded with an unknown content encoding.
-1015 CFURL/NSURL error: The connection cannot decode data encoded with a known content encoding.
-1014 CFURL/NSURL error: The resource retrieved by the connection is zero bytes.
-1013 CFURL/NSURL error: The connection failed because authentication is required.
-1012 CFURL/NSURL error: The connection failed because the user cancelled required authentication.
-1011 CFURL/NSURL error: The connection received an invalid server response.
-1010 CFURL/NSURL error: The connection was redirected to a nonexistent location.
-1009 CFURL/NSURL error: The connection failed because the device is not connected to the internet.
-1008 CFURL/NSURL error: The connection’s resource is unavailable.
-1007 CFURL/NSURL error: The HTTP connection failed due to too many redirects.
-1006 CFURL/NSURL error: The connection failed because the DNS lookup failed.
-1005 CFURL/NSURL error: The connection failed because the network connection was lost.
-1004 CFURL/NSURL error: The connection failed because a connection cannot be made to the host.
-1003 CFURL/NSURL error: The connection failed because the host could not be found.
-1002 CFURL/NSURL error: The connection failed due to an unsupported URL scheme.
-1001 CFURL/NSURL error: The connection timed out.
-1000 CFURL/NSURL error: The connection failed due to a malformed URL.
-999 CFURL/NSURL error: The connection was cancelled.
-998 CFURL/NSURL error: An unknown error occurred.
-997 CFURL/NSURL error: Background session was disconnected.
-996 CFURL/NSURL error: Background session is in use by another process.
1 Host error: Indicates that the DNS lookup failed.
2 Host error: Unknown error. Query the kCFGetAddrInfoFailureKey to get the value returned from getaddrinfo; lookup in netdb.h
100 SOCKS error: The SOCKS server rejected access because it does not support connections with the requested SOCKS version.Query kCFSOCKSStatusCodeKey to recover the status code returned by the server
101 SOCKS error: The version of SOCKS requested by the server is not supported. Query kCFSOCKSStatusCodeKey to recover the status code returned by the server. Query the kCFSOCKSVersionKey to find the version requested by the server.
110 SOCKSS4 error: Request rejected or failed by the server.
111 SOCKSS4 error: Request rejected because SOCKS server cannot connect to identd on the client.
112 SOCKSS4 error: Request rejected because the client program and identd report different user-ids.
113 SOCKSS4 error: The status code returned by the server is unknown.
120 SOCKSS5 error: The stream is not in a state that allows the requested operation.
121 SOCKSS5 error: The address type returned is not supported.
122 SOCKSS5 error: The SOCKS server refused the client connection because of bad login credentials.
123 SOCKSS5 error: The requested method is not supported. Query kCFSOCKSNegotiationMethodKey to find the method requested.
124 SOCKSS5 error: The client and server could not find a mutually agreeable authentication method.
200 FTP error: The server returned an unexpected status code. Query the kCFFTPStatusCodeKey to get the status code returned by the server
300 HTTP error: The client and server could not agree on a supported authentication type.
301 HTTP error: The credentials provided for an authenticated connection were rejected by the server.
302 HTTP error: The connection to the server was dropped. This usually indicates a highly overloaded server.
303 HTTP error: The HTTP server response could not be parsed.
304 HTTP error: Too many HTTP redirects occurred before reaching a page that did not redirect the client to another page. This usually indicates a redirect loop.
305 HTTP error: The requested URL could not be retrieved.
306 HTTP error: A connection could not be established to the HTTP proxy.
307 HTTP error: The authentication credentials provided for logging into the proxy were rejected.
308 HTTP error: An error occurred with the proxy autoconfiguration file.
309 HTTP error: The authentication credentials provided by the proxy autoconfiguration file were rejected.
310 HTTP error: A connection could not be established to the HTTPS proxy.
311 HTTP error: The HTTPS proxy returned an unexpected status code, such as a 3xx redirect.
)";

TEST(CFNetworkErrorsTest, hasTheMessageOfEveryListedCode) {
  std::istringstream lines(messages);
  int rows = 0;

  std::int32_t code = 0;
  std::string message;
  while (lines >> code && lines.get() == ' ' && std::getline(lines, message)) {
    EXPECT_EQ(CFNetworkErrors(code).message(), message) << "code " << code;
    ++rows;
  }

  EXPECT_EQ(rows, 84);
}

TEST(CFNetworkErrorsTest, namesTheCodeOfEveryOtherFailure) {
  EXPECT_EQ(CFNetworkErrors(3).message(), "CFNet unknown error: 3");
  EXPECT_EQ(CFNetworkErrors(0).message(), "CFNet unknown error: 0");
  EXPECT_EQ(CFNetworkErrors(-1023).message(), "CFNet unknown error: -1023");
  EXPECT_EQ(CFNetworkErrors(-73001).message(), "CFNet unknown error: -73001");
  EXPECT_EQ(CFNetworkErrors(312).message(), "CFNet unknown error: 312");
  EXPECT_EQ(CFNetworkErrors(INT32_MIN).message(), "CFNet unknown error: -2147483648");
  EXPECT_EQ(CFNetworkErrors(INT32_MAX).message(), "CFNet unknown error: 2147483647");
}

TEST(CFNetworkErrorsTest, takesPartAsAnError) {
  const Error error = CFNetworkErrors::cancelled();

  EXPECT_EQ(error.message(), "CFURL/NSURL error: The connection was cancelled.");
  EXPECT_EQ(error.domain(), "CFNetwork.CFNetworkErrors");
  EXPECT_EQ(error.code(), -999);
  ASSERT_TRUE(error.is<CFNetworkErrors>());
  EXPECT_EQ(*error.as<CFNetworkErrors>(), CFNetworkErrors(-999));
  ASSERT_TRUE(error.is<vantorel::ErrorLoggable>());
  EXPECT_EQ(error.as<vantorel::ErrorLoggable>()->additionalLogInfo(), std::nullopt);
  EXPECT_EQ(error.as<vantorel::ErrorLoggable>()->logMessage(), error.message());
}

TEST(CFNetworkErrorsTest, keepsWhatTheTransportKnew) {
  const NSError transport(platform::kCFErrorDomainCFNetwork, -1001, "Timeout was reached",
                          {{platform::URLErrorKey::transportCode, 28}, {platform::URLErrorKey::requestWasSent, true}});

  const CFNetworkErrors error(-1001, transport);

  EXPECT_EQ(error.errorUserInfo(),
            (Dictionary{{"NSLocalizedDescription", "CFURL/NSURL error: The connection timed out."},
                        {platform::URLErrorKey::transportCode, 28},
                        {platform::URLErrorKey::requestWasSent, true}}));
  EXPECT_EQ(error.underlyingError()->message(), "Timeout was reached");
}

TEST(CFNetworkErrorsTest, isEqualByItsCodeAlone) {
  EXPECT_EQ(CFNetworkErrors::timedOut(), CFNetworkErrors(-1001, NSError("d", 1, "m")));
  EXPECT_NE(CFNetworkErrors::timedOut(), CFNetworkErrors::cannotFindHost());
}

TEST(CFNetworkErrorsTest, hasANameForEachCodeThatLoadingProduces) {
  const std::pair<CFNetworkErrors, std::int32_t> named[] = {
      {CFNetworkErrors::cannotWriteToFile(), -3003},
      {CFNetworkErrors::cannotCloseFile(), -3002},
      {CFNetworkErrors::cannotCreateFile(), -3000},
      {CFNetworkErrors::cannotLoadFromNetwork(), -2000},
      {CFNetworkErrors::clientCertificateRequired(), -1206},
      {CFNetworkErrors::clientCertificateRejected(), -1205},
      {CFNetworkErrors::serverCertificateNotYetValid(), -1204},
      {CFNetworkErrors::serverCertificateHasUnknownRoot(), -1203},
      {CFNetworkErrors::serverCertificateUntrusted(), -1202},
      {CFNetworkErrors::serverCertificateHasBadDate(), -1201},
      {CFNetworkErrors::secureConnectionFailed(), -1200},
      {CFNetworkErrors::dataLengthExceedsMaximum(), -1103},
      {CFNetworkErrors::noPermissionsToReadFile(), -1102},
      {CFNetworkErrors::fileIsDirectory(), -1101},
      {CFNetworkErrors::fileDoesNotExist(), -1100},
      {CFNetworkErrors::appTransportSecurityRequiresSecureConnection(), -1022},
      {CFNetworkErrors::requestBodyStreamExhausted(), -1021},
      {CFNetworkErrors::cannotParseResponse(), -1017},
      {CFNetworkErrors::cannotDecodeRawData(), -1016},
      {CFNetworkErrors::cannotDecodeContentData(), -1015},
      {CFNetworkErrors::zeroByteResource(), -1014},
      {CFNetworkErrors::userCancelledAuthentication(), -1012},
      {CFNetworkErrors::badServerResponse(), -1011},
      {CFNetworkErrors::redirectToNonExistentLocation(), -1010},
      {CFNetworkErrors::notConnectedToInternet(), -1009},
      {CFNetworkErrors::resourceUnavailable(), -1008},
      {CFNetworkErrors::httpTooManyRedirects(), -1007},
      {CFNetworkErrors::dnsLookupFailed(), -1006},
      {CFNetworkErrors::networkConnectionLost(), -1005},
      {CFNetworkErrors::cannotConnectToHost(), -1004},
      {CFNetworkErrors::cannotFindHost(), -1003},
      {CFNetworkErrors::unsupportedURL(), -1002},
      {CFNetworkErrors::timedOut(), -1001},
      {CFNetworkErrors::badURL(), -1000},
      {CFNetworkErrors::cancelled(), -999},
      {CFNetworkErrors::unknown(), -998},
      {CFNetworkErrors::socksUnsupportedServerVersion(), 101},
      {CFNetworkErrors::socks5BadState(), 120},
      {CFNetworkErrors::socks5BadResponseAddress(), 121},
      {CFNetworkErrors::socks5BadCredentials(), 122},
      {CFNetworkErrors::socks5UnsupportedNegotiationMethod(), 123},
      {CFNetworkErrors::socks5NoAcceptableMethod(), 124},
      {CFNetworkErrors::httpProxyConnectionFailure(), 306},
      {CFNetworkErrors::httpBadProxyCredentials(), 307},
      {CFNetworkErrors::httpsProxyConnectionFailure(), 310},
      {CFNetworkErrors::httpsProxyUnexpectedResponse(), 311},
  };

  for (const auto& [error, code] : named) EXPECT_EQ(error.rawValue(), code) << error.message();
}

}  // namespace
}  // namespace corvane
