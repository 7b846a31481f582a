// Written by tools/bindings/generate.py; not to be edited.

namespace KavroBroker
{
    /// <summary>The result codes.</summary>
    public enum Result
    {
        /// <summary>success</summary>
        Ok = 0,
        /// <summary>an argument is null, out of range or unusable</summary>
        InvalidParameter = 2,
        /// <summary>the needed size was stored, nothing copied</summary>
        BufferTooSmall = 3,
        /// <summary>the deadline passed</summary>
        Timeout = 4,
        /// <summary>kavro_broker_cancel() ended the request</summary>
        Cancelled = 5,
        /// <summary>the broker wants a log-in first</summary>
        NotAuthenticated = 6,
        /// <summary>not possible now, e.g. no address or no session</summary>
        InvalidState = 7,
        /// <summary>the broker did not send this value</summary>
        NotAvailable = 8,
        /// <summary>the type finder recognised no broker</summary>
        NoBrokerFound = 9,
        /// <summary>this kind of broker does not offer the operation</summary>
        NotImplemented = 10,
        /// <summary>unknown broker type, or its client is missing</summary>
        CreateFailed = 100,
        /// <summary>set a log function before creating a handle</summary>
        NoLogFunction = 101,
        /// <summary>the host name has no address</summary>
        ConnectResolveFailed = 200,
        /// <summary>TCP connection failed</summary>
        ConnectFailed = 201,
        /// <summary>no server listens on that port</summary>
        ConnectRefused = 202,
        /// <summary>TLS could not be agreed on</summary>
        TlsHandshakeFailed = 203,
        /// <summary>TLS broke after the handshake</summary>
        TlsProtocolError = 204,
        /// <summary>connection lost, or a system call failed</summary>
        SocketOrSysFailure = 205,
        /// <summary>the answer cannot be understood</summary>
        MangledResponse = 206,
        /// <summary>an HTTP status other than 200</summary>
        HttpNotOk = 207,
        /// <summary>not found, not reached, refuses the broker</summary>
        ProxyFailed = 208,
        /// <summary>the proxy wants a log-in, or another one</summary>
        ProxyAuthRequired = 209,
        /// <summary>the certificate is rejected</summary>
        CertificateFailed = 300,
        /// <summary>unknown issuer, else sound</summary>
        CertificateFailedButWarnable = 301,
        /// <summary>the protocol version is not understood</summary>
        UnsupportedVersion = 400,
        /// <summary>the request does not fit the conversation</summary>
        UnsupportedRequest = 401,
        /// <summary>the broker reports a system failure</summary>
        BrokerSysFailed = 403,
        /// <summary>the broker could not make its answer</summary>
        BrokerRespFailed = 404,
        /// <summary>the desktop's agent failed</summary>
        AgentFailed = 405,
        /// <summary>the gateway failed</summary>
        GatewayFailed = 406,
        /// <summary>the connection manager failed</summary>
        CmFailed = 407,
        /// <summary>another protocol error, see its message</summary>
        ProtocolGeneric = 408,
        /// <summary>the account is blocked</summary>
        AuthBlocked = 500,
        /// <summary>unknown user or wrong password</summary>
        AuthUnknownUsernamePassword = 501,
        /// <summary>the user is entitled to nothing</summary>
        AuthUserHasNoResource = 502,
        /// <summary>access denied</summary>
        AuthAccessDenied = 503,
        /// <summary>the disclaimer was rejected</summary>
        AuthDisclaimerRejected = 504,
        /// <summary>the new password is too weak</summary>
        AuthWeakPassword = 505,
        /// <summary>too many attempts</summary>
        AuthMaxRetriesExceeded = 506,
        /// <summary>no offered method is supported</summary>
        AuthNotSupported = 507,
        /// <summary>the domain controller failed</summary>
        AuthDomainControllerError = 508,
        /// <summary>the OAuth code is invalid</summary>
        AuthOAuthCodeInvalid = 509,
        /// <summary>the OAuth token is invalid</summary>
        AuthOAuthTokenInvalid = 510,
        /// <summary>the OAuth token's scope is wrong</summary>
        AuthOAuthTokenScope = 511,
        /// <summary>the user's certificate is refused</summary>
        AuthCertificateRejected = 512,
        /// <summary>a dialog entry is invalid</summary>
        AuthDialogInvalidUserEntry = 513,
        /// <summary>a field or button id is unknown</summary>
        AuthInvalidFieldButtonId = 514,
        /// <summary>the user is entitled to no desktop</summary>
        VmListNoEntitlement = 600,
        /// <summary>no licence is free</summary>
        ConnectDesktopNoLicense = 700,
        /// <summary>launch failed</summary>
        ConnectDesktopFailed = 701,
        /// <summary>try again later</summary>
        ConnectDesktopPending = 703,
        /// <summary>provisioning too slow</summary>
        SessionProvisionTimeout = 708,
        /// <summary>provisioning failed</summary>
        SessionProvisionServerConnectFailed = 709,
        /// <summary>reserved</summary>
        ConnectDesktop710 = 710,
        /// <summary>not for this desktop</summary>
        DesktopOperationNotSupported = 711,
        /// <summary>it did not work</summary>
        DesktopOperationFailed = 712,
    }

    /// <summary>Broker types for kavro_broker_create(), and the type finder's answers. A type code is four ASCII characters read as a big-endian number.</summary>
    public enum BrokerType
    {
        /// <summary>"KAVR", the broker protocol of this library</summary>
        Kavro = 1262573138,
        /// <summary>"VIEW", served by a plug-in library</summary>
        View = 1447642455,
        /// <summary>"AWSK", type finder only</summary>
        Aws = 1096241995,
        /// <summary>"HARD", type finder only</summary>
        DirectHost = 1212240452,
    }

    /// <summary>Connection variants for kavro_broker_set_broker_variant().</summary>
    public enum BrokerVariant
    {
        /// <summary>the broker address is a host</summary>
        Address = 0,
        /// <summary>the broker address is a registration code</summary>
        RegistrationCode = 1,
    }

    /// <summary>The broker's next demand, as kavro_broker_get_auth_method() tells it.</summary>
    public enum AuthMethod
    {
        /// <summary>nothing: the user is logged in</summary>
        None = 0,
        /// <summary>user name, domain, password</summary>
        Password = 1,
        /// <summary>kavro_broker_send_new_password()</summary>
        PasswordExpired = 2,
        /// <summary>kavro_broker_send_accept_disclaimer()</summary>
        Disclaimer = 3,
        /// <summary>not used</summary>
        Reserved4 = 4,
        /// <summary>an OAuth code</summary>
        OAuth = 5,
        /// <summary>kavro_broker_send_auth_dialog()</summary>
        Dialog = 6,
        /// <summary>kavro_broker_send_securid_auth()</summary>
        SecurId = 7,
        /// <summary>kavro_broker_send_securid_token()</summary>
        SecurIdNextToken = 8,
        /// <summary>kavro_broker_send_securid_pinchange()</summary>
        SecurIdNewPin = 9,
        /// <summary>kavro_broker_send_securid_wait()</summary>
        SecurIdWait = 10,
        /// <summary>not used</summary>
        Reserved11 = 11,
        /// <summary>0xFFFFFFFF: the request failed</summary>
        Unknown = -1,
    }

    /// <summary>Kinds of a dialog field.</summary>
    public enum DialogFieldKind
    {
        /// <summary>the user may change its value</summary>
        Editable = 0,
        /// <summary>to be shown only</summary>
        ReadOnly = 1,
    }

    /// <summary>The content of a dialog field; a hint for the keyboard to show.</summary>
    public enum TextType
    {
        /// <summary>KAVRO_BROKER_TEXT_TYPE_TEXT in C</summary>
        Text = 0,
        /// <summary>KAVRO_BROKER_TEXT_TYPE_NUMBER in C</summary>
        Number = 1,
        /// <summary>KAVRO_BROKER_TEXT_TYPE_EMAIL in C</summary>
        Email = 2,
        /// <summary>KAVRO_BROKER_TEXT_TYPE_URL in C</summary>
        Url = 3,
        /// <summary>KAVRO_BROKER_TEXT_TYPE_TEL in C</summary>
        Tel = 4,
    }

    /// <summary>Power operations on a desktop.</summary>
    public enum Operation
    {
        /// <summary>KAVRO_BROKER_OPERATION_OS_RESTART in C</summary>
        OSRestart = 0,
        /// <summary>KAVRO_BROKER_OPERATION_POWER_DOWN in C</summary>
        PowerDown = 1,
        /// <summary>KAVRO_BROKER_OPERATION_POWER_UP in C</summary>
        PowerUp = 2,
        /// <summary>KAVRO_BROKER_OPERATION_SLEEP in C</summary>
        Sleep = 3,
        /// <summary>KAVRO_BROKER_OPERATION_RESUME in C</summary>
        Resume = 4,
    }

    /// <summary>Properties of an allocated desktop connection.</summary>
    public enum ConnectionProperty
    {
        /// <summary>IP address, or a host name</summary>
        TargetAddress = 0,
        /// <summary>the target's name</summary>
        HostName = 1,
        /// <summary>TLS server name indication, or ""</summary>
        ServerName = 2,
        /// <summary>decimal text</summary>
        Port = 3,
        /// <summary>session identifier</summary>
        SessionId = 4,
        /// <summary>opaque token; a secret</summary>
        ConnectTag = 5,
        /// <summary>one byte, 0 or 1, not a text</summary>
        UseBrokerAddress = 6,
        /// <summary>a secret</summary>
        GatewayTicket = 7,
        /// <summary>time as the broker wrote it</summary>
        GatewayTicketCreation = 8,
        /// <summary>time as the broker wrote it</summary>
        GatewayTicketExpiry = 9,
    }

    /// <summary>Verdicts on one certificate of the broker's chain, from kavro_broker_get_certificate_error().</summary>
    public enum CertificateVerdict
    {
        /// <summary>KAVRO_BROKER_CERTIFICATE_OK in C</summary>
        Ok = 0,
        /// <summary>KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_ISSUER in C</summary>
        UnableToGetIssuer = 1,
        /// <summary>KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_CRL in C</summary>
        UnableToGetCrl = 2,
        /// <summary>KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECRYPT_SIGNATURE in C</summary>
        UnableToDecryptSignature = 3,
        /// <summary>KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECRYPT_CRL_SIGNATURE in C</summary>
        UnableToDecryptCrlSignature = 4,
        /// <summary>KAVRO_BROKER_CERTIFICATE_UNABLE_TO_DECODE_ISSUER_KEY in C</summary>
        UnableToDecodeIssuerKey = 5,
        /// <summary>KAVRO_BROKER_CERTIFICATE_SIGNATURE_FAILURE in C</summary>
        SignatureFailure = 6,
        /// <summary>KAVRO_BROKER_CERTIFICATE_CRL_SIGNATURE_FAILURE in C</summary>
        CrlSignatureFailure = 7,
        /// <summary>KAVRO_BROKER_CERTIFICATE_NOT_YET_VALID in C</summary>
        NotYetValid = 8,
        /// <summary>KAVRO_BROKER_CERTIFICATE_EXPIRED in C</summary>
        Expired = 9,
        /// <summary>KAVRO_BROKER_CERTIFICATE_CRL_NOT_YET_VALID in C</summary>
        CrlNotYetValid = 10,
        /// <summary>KAVRO_BROKER_CERTIFICATE_CRL_EXPIRED in C</summary>
        CrlExpired = 11,
        /// <summary>KAVRO_BROKER_CERTIFICATE_SELF_SIGNED in C</summary>
        SelfSigned = 12,
        /// <summary>KAVRO_BROKER_CERTIFICATE_SELF_SIGNED_IN_CHAIN in C</summary>
        SelfSignedInChain = 13,
        /// <summary>KAVRO_BROKER_CERTIFICATE_UNABLE_TO_VERIFY_LEAF in C</summary>
        UnableToVerifyLeaf = 14,
        /// <summary>KAVRO_BROKER_CERTIFICATE_REVOKED in C</summary>
        Revoked = 15,
        /// <summary>KAVRO_BROKER_CERTIFICATE_INVALID_CA in C</summary>
        InvalidCa = 16,
        /// <summary>KAVRO_BROKER_CERTIFICATE_INVALID_PURPOSE in C</summary>
        InvalidPurpose = 17,
        /// <summary>KAVRO_BROKER_CERTIFICATE_UNTRUSTED in C</summary>
        Untrusted = 18,
        /// <summary>KAVRO_BROKER_CERTIFICATE_REJECTED in C</summary>
        Rejected = 19,
        /// <summary>KAVRO_BROKER_CERTIFICATE_RESERVED_20 in C</summary>
        Reserved20 = 20,
        /// <summary>KAVRO_BROKER_CERTIFICATE_ISSUER_MISMATCH in C</summary>
        IssuerMismatch = 21,
        /// <summary>KAVRO_BROKER_CERTIFICATE_KEY_USAGE_NO_CERT_SIGN in C</summary>
        KeyUsageNoCertSign = 22,
        /// <summary>KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_CRL_ISSUER in C</summary>
        UnableToGetCrlIssuer = 23,
        /// <summary>KAVRO_BROKER_CERTIFICATE_RESERVED_24 in C</summary>
        Reserved24 = 24,
        /// <summary>KAVRO_BROKER_CERTIFICATE_KEY_USAGE_NO_CRL_SIGN in C</summary>
        KeyUsageNoCrlSign = 25,
        /// <summary>KAVRO_BROKER_CERTIFICATE_RESERVED_26 in C</summary>
        Reserved26 = 26,
        /// <summary>KAVRO_BROKER_CERTIFICATE_KEY_TOO_SHORT in C</summary>
        KeyTooShort = 27,
        /// <summary>KAVRO_BROKER_CERTIFICATE_HOST_NAME_MISMATCH in C</summary>
        HostNameMismatch = 28,
        /// <summary>e.g. the issuer is not known here</summary>
        Other = 29,
        /// <summary>see kavro_broker_add_key_pin()</summary>
        PinMismatch = 30,
        /// <summary>its issuer says so (RFC 6066 section 8)</summary>
        RevokedByStaple = 31,
        /// <summary>see kavro_broker_require_stapled_status()</summary>
        NoStaple = 32,
    }

    /// <summary>Categories of a log message.</summary>
    public enum LogCategory
    {
        /// <summary>KAVRO_BROKER_LOG_CATEGORY_GENERAL in C</summary>
        General = 0,
        /// <summary>finding the broker</summary>
        Discovery = 1,
    }

    /// <summary>Severities of a log message.</summary>
    public enum LogSeverity
    {
        /// <summary>unconditional</summary>
        Banner = 0,
        /// <summary>KAVRO_BROKER_LOG_ERROR in C</summary>
        Error = 1,
        /// <summary>also the masked XML of every message</summary>
        Info = 2,
        /// <summary>KAVRO_BROKER_LOG_DEBUG in C</summary>
        Debug = 3,
        /// <summary>KAVRO_BROKER_LOG_VERBOSE in C</summary>
        Verbose = 4,
    }

    /// <summary>What a time limit bounds.</summary>
    public enum TimeLimit
    {
        /// <summary>look-up, all addresses and TLS, together; 30 s at first</summary>
        Connect = 0,
        /// <summary>the answer to a hello, a list, a power operation or a good-bye; 30 s at first</summary>
        Request = 1,
        /// <summary>the answer to a log-in, a new password included; 40 s at first</summary>
        Authentication = 2,
        /// <summary>all that is said to a provisioning server; 180 s at first</summary>
        Provisioning = 3,
    }
}
