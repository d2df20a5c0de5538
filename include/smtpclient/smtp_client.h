#ifndef SMTPCLIENT_SMTP_CLIENT_H
#define SMTPCLIENT_SMTP_CLIENT_H

#include <cstdint>

#include <smtpclient/export.h>

namespace SMTPClientNS {

class ICompletionSink;
class IMimeMessage;

/// Public result codes: what Send returns and ICompletionSink::OnSendComplete is told.
enum ResultCode : std::int32_t {
    ResultSuccess = 1,
    ResultGeneralError = -1,  ///< Whatever has no code of its own; GetLastResult may tell more.
    ResultInitFailed = -2,
    ResultProxyNotResolved = -3,
    ResultHostNotResolved = -4,
    ResultConnectFailed = -5,
    ResultBadHost = -6,  ///< Also: no host set.
    ResultUnsupportedProtocol = -7,
    ResultTlsFailed = -8,
    ResultCertificateRejected = -9,  ///< Any failed check of the server's certificate.
    ResultCertificateAuthFailed = -10,
    ResultTimeout = -11,
    ResultLoginDenied = -12,
    ResultSendFailed = -13,  ///< Also: the server refused the sender, a recipient or DATA.
    ResultReceiveFailed = -14,
    ResultBadCredentials = -15,  ///< Also: user name or password not set.
    ResultFileUnreadable = -16,  ///< An attachment or a picture.
    ResultNoSender = -17,
    ResultNoRecipients = -18,
};

/// Values of ISmtpClient::SetTlsVersion. All but the default pin exactly one version.
enum TlsVersion : std::int32_t {
    TlsDefault = 0,  ///< What libcurl takes by default.
    Tls10 = 1,
    Tls11 = 2,
    Tls12 = 3,
    Tls13 = 4,
};

/// Types of ISmtpClient::SetProxy. Any other acts as ProxySocks5.
enum ProxyType : std::int32_t {
    ProxySocks4 = 0,
    ProxySocks4a = 1,         ///< The proxy resolves the server's name.
    ProxySocks5 = 2,          ///< RFC 1928.
    ProxySocks5Hostname = 3,  ///< RFC 1928; the proxy resolves the server's name.
};

/// Indexes of ISmtpClient::GetProxyValue.
enum ProxyField : std::int32_t {
    ProxyHost = 0,
    ProxyPort = 1,
    ProxyTypeNumber = 2,
    ProxyUserName = 3,
    ProxyPassword = 4,
};

/// Units of the buffer that ISmtpClient::GetProxyValue writes to, the terminating 0 included.
constexpr std::int32_t ProxyValueCapacity = 256;

/// What GetLastResult gives before the first Send.
constexpr std::int32_t LastResultNone = 999;

#ifdef _WIN32
#pragma push_macro("GetUserName")
#pragma push_macro("SetPort")
#pragma push_macro("GetMessage")
#undef GetUserName
#undef SetPort
#undef GetMessage
#endif

/// Sends mail over SMTP (RFC 5321), on the caller's thread or in the background.
///
/// A send needs a host, a port, a user name and a password, and a message with a sender and at
/// least one recipient; everything else has a working default. Settings may change between sends,
/// and the next send takes them up.
///
/// Text is UTF-16, 0-terminated. What is passed in is copied before the call returns. What is
/// returned belongs to the client, is never null, and holds until the field is set again or the
/// client ends. It is sent in the system code page (smtpclient.h).
///
/// Where memory runs out, an operation that takes or gives text throws std::bad_alloc and leaves
/// its field as it was; Send and SendAsync never throw, but a mail may then go without a part of
/// it.
///
/// Thread: a client is driven by one thread at a time; different clients by different threads at
/// once.
class ISmtpClient {
public:
#ifdef _WIN32
    /// Holds the first place of the table. Compilers there give a destructor one place or two.
    virtual void Reserved() {}
#else
    virtual ~ISmtpClient() = default;
#endif

    /// Sends the message and returns when the transfer has ended: a ResultCode. There is no limit
    /// of time but SetConnectTimeout, libcurl's own 120 s for each answer of the server, and as
    /// much for the answer to QUIT after a refusal; none at all while the server takes the mail's
    /// text.
    ///
    /// Meanwhile libcurl's remarks go to the standard error stream: 4 lines for a mail without TLS,
    /// some 20 with it. The connection stays open behind a success, with up to three descriptors,
    /// until the client's next Send or its end; it is not used again.
    virtual std::int32_t Send() = 0;

    /// Composes the mail now and sends it in the background; the sink is told of the end.
    ///
    /// Returns the send's task id: 1, 2, 3 ... for each client. A send that cannot start (no
    /// sender, say) gets an id, too, and reports its failure to the sink. When the call has
    /// returned, the message may change or end; only attached files and pictures are read later.
    /// Where memory runs out before the send is queued, the call returns -1 and nothing is sent.
    /// Where the system gives no thread, sends stay queued, unreported, until a later SendAsync
    /// gets one.
    ///
    /// Nothing goes to the standard error stream, and no log is kept: the server's own words, which
    /// GetLogText has after a Send, are lost, and the sink is told the ResultCode and its message.
    ///
    /// Sends of one client run one after the other. The reports come on the thread of the
    /// client's first SendAsync, when that thread dispatches its events (host_platform.h).
    virtual std::int32_t SendAsync() = 0;

    /// Takes a send that has not begun out of the queue: its mail is not sent and the sink not
    /// told. 0 means all that are queued. A transfer that is under way goes on.
    ///
    /// Returns 1, or -1 if nothing of that id is queued (any more).
    virtual std::int32_t CancelAsync(std::int32_t taskId) = 0;

    /// The dialogue of the last Send, one line for each row that the server ("S: ") or the client
    /// ("C: ") said, closed by a line with the result and the server's own words. Fit to be shown:
    /// neither credentials nor the mail's text are in it. Empty before the first Send;
    /// GetLastResult is ResultGeneralError then, and SetLogFile writes at once, as if a Send had
    /// failed.
    ///
    /// The text holds until the next call of a log operation on this client.
    virtual const char16_t *GetLogText() = 0;

    /// Names the log file of Send. The log is the whole conversation, CREDENTIALS AND MAIL TEXT
    /// INCLUDED; the file is created for its owner alone (0600).
    ///
    /// path    null: the call does nothing. Empty: no log file, which is the default.
    /// append  true adds each send to the end of the file, which is the default; false replaces it.
    ///
    /// On a client that has not sent, the call only stores. After a Send, its log is written at
    /// once, so that a failed send can still be logged: until any client of the process sends
    /// again, or GetLogText or SetLogFile of another client takes the trace into that one's log.
    /// Several clients name their files before they send. A file that cannot be opened, is locked
    /// (flock) or is full loses its log without a report.
    virtual void SetLogFile(const char16_t *path, bool append) = 0;

    /// The closing line of GetLogText: how the last Send ended. Shares its buffer with GetLogText:
    /// each call of either spoils what the other returned.
    virtual const char16_t *GetLastLogEntry() = 0;

    /// The internal result of the last Send: 0 for success, LastResultNone before the first, else
    /// what stopped it, a libcurl code (CURLcode) or -1 (no message), -2 (no sender), -3 (no
    /// recipients). The ResultCode takes the place of a failure once a log has been formed: by a
    /// Send with a log file, by SetLogFile or by GetLogText. Background sends change nothing here.
    virtual std::int32_t GetLastResult() const = 0;

    /// Sets a SOCKS proxy and switches it on.
    ///
    /// host, port  refused if host is null, empty or longer than 255 units, or port less than 1;
    ///             then the proxy is switched off and the stored values stay.
    /// type        a ProxyType.
    /// userName, password  taken only if neither is null or empty, else those that are stored stay;
    ///             refused, as above, if longer than 255 units.
    ///
    /// Returns 1, or 0 for a refusal.
    virtual std::int32_t SetProxy(const char16_t *host, std::int32_t port, std::int32_t type,
                                  const char16_t *userName, const char16_t *password) = 0;

    /// Writes a ProxyField, as text with its terminating 0, to a buffer of ProxyValueCapacity
    /// units; numbers in decimal. Any other index writes nothing.
    virtual void GetProxyValue(char16_t *buffer, std::int32_t index) const = 0;

    /// Switches the proxy on or off; off in a new client. When off, libcurl's own rule applies: it
    /// takes a proxy that the process's environment names (all_proxy, smtp_proxy). A no_proxy of
    /// the environment also applies to the proxy of SetProxy.
    virtual void SetProxyEnabled(bool enabled) = 0;
    virtual bool IsProxyEnabled() const = 0;

    /// The sink of background sends; null for none. No reference is taken. A send looks for its
    /// sink when it ends: the sink of that moment is told.
    virtual void SetCompletionSink(ICompletionSink *sink) = 0;
    virtual ICompletionSink *GetCompletionSink() const = 0;

    /// Not zero: the server's certificate has to be valid for the host and signed by an authority
    /// that the system trusts. Zero, the default, accepts any certificate and with it anyone who
    /// sits between: set it to 1 for every server that is not your own test.
    virtual void SetVerifyPeer(std::int32_t verify) = 0;
    virtual std::int32_t GetVerifyPeer() const = 0;

    /// True: the server has to prove with a stapled OCSP answer (RFC 6066, section 8) that its
    /// certificate is not revoked. False in a new client; few mail servers staple.
    virtual void SetVerifyStatus(bool verify) = 0;
    virtual bool GetVerifyStatus() const = 0;

    /// True, the default: the connection has to be secured with STARTTLS (RFC 3207), else the send
    /// fails before the login. False: no TLS at all, login included.
    virtual void SetUseTls(bool use) = 0;
    virtual bool GetUseTls() const = 0;

    /// A TlsVersion. Any other value leaves the choice to libcurl.
    virtual void SetTlsVersion(std::int32_t version) = 0;
    virtual std::int32_t GetTlsVersion() const = 0;

    /// Seconds until the connection has to stand, TLS and login included. 0, the default, means
    /// libcurl's own limits, 300 in all and 120 for each answer; negative values set no limit of
    /// ours, which comes to the same.
    virtual void SetConnectTimeout(std::int32_t seconds) = 0;
    virtual std::int32_t GetConnectTimeout() const = 0;

    /// Login name. Null is ignored. A send without a user name or a password fails with
    /// ResultBadCredentials.
    virtual void SetUserName(const char16_t *text) = 0;
    virtual const char16_t *GetUserName() const = 0;

    /// Login password. Null is ignored. Needed beside a bearer token, too, where it goes
    /// unused unless the server offers a mechanism that libcurl prefers to the token's.
    virtual void SetPassword(const char16_t *text) = 0;
    virtual const char16_t *GetPassword() const = 0;

    /// OAuth 2.0 token for the XOAUTH2 and OAUTHBEARER (RFC 7628) mechanisms. Null and empty mean
    /// none.
    virtual void SetBearerToken(const char16_t *text) = 0;
    virtual const char16_t *GetBearerToken() const = 0;

    /// Server name or address. Null is ignored. Taken as it comes into a URL: not for a stranger's
    /// text. For a name outside ASCII see smtpclient.h.
    virtual void SetHost(const char16_t *text) = 0;
    virtual const char16_t *GetHost() const = 0;

    /// Server port, 587 for most submission servers (RFC 6409). -1 in a new client, which no send
    /// accepts. The server has to speak plain SMTP first: port 465 (TLS from the first byte) does
    /// not work.
    virtual void SetPort(std::int32_t port) = 0;
    virtual std::int32_t GetPort() const = 0;

    /// For the library's own use: a reference that a host takes is never given back.
    virtual void AddRef() = 0;

    /// Ends the host's hold on the client, whatever AddRef was called. The host's last call on it.
    /// Returns at once; background sends that are under way or queued go on and still report.
    virtual void Release() = 0;

    /// The message to send. Only the pointer is stored; the message has to live until the Send or
    /// SendAsync that uses it has returned.
    virtual void SetMessage(IMimeMessage *message) = 0;
    virtual IMimeMessage *GetMessage() const = 0;

#ifdef _WIN32
    // Calls whose names the macros of <windows.h> have changed.
    const char16_t *GetUserNameA() const {
        return GetUserName();
    }
    const char16_t *GetUserNameW() const {
        return GetUserName();
    }
    void SetPortA(std::int32_t port) {
        SetPort(port);
    }
    void SetPortW(std::int32_t port) {
        SetPort(port);
    }
    IMimeMessage *GetMessageA() const {
        return GetMessage();
    }
    IMimeMessage *GetMessageW() const {
        return GetMessage();
    }

protected:
    ~ISmtpClient() = default;
#endif
};

#ifdef _WIN32
#pragma pop_macro("GetMessage")
#pragma pop_macro("SetPort")
#pragma pop_macro("GetUserName")
#endif

}  // namespace SMTPClientNS

/// Makes a client. It belongs to the caller, who ends it with Release. Any thread.
extern "C" SMTPCLIENT_API SMTPClientNS::ISmtpClient *CreateSmtpClient();

#endif  // SMTPCLIENT_SMTP_CLIENT_H
