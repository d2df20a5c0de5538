"""The library from Python, by its binary contract.

    library = Library()
    client, message = library.client(), library.message()
    client.SetHost("mail.example.org")
    ...
    client.Release()

Each interface has its operations under their names in the headers, which also say what they do.
Text goes in as str and comes back as str; a message, a sink or a buffer of ctypes goes in as it is.
Who makes a client or message calls Release. A sink is kept until the last send has reported:

    client.SetCompletionSink(sink := Sink(print))
    client.SendAsync()
    library.exports.SmtpClientWaitEvents(60000)
"""
import ctypes

# In the order of the tables. Those with a mark return text.
CLIENT = """
    Send SendAsync CancelAsync GetLogText$ SetLogFile GetLastLogEntry$ GetLastResult SetProxy
    GetProxyValue SetProxyEnabled IsProxyEnabled SetCompletionSink GetCompletionSink SetVerifyPeer
    GetVerifyPeer SetVerifyStatus GetVerifyStatus SetUseTls GetUseTls SetTlsVersion GetTlsVersion
    SetConnectTimeout GetConnectTimeout SetUserName GetUserName$ SetPassword GetPassword$
    SetBearerToken GetBearerToken$ SetHost GetHost$ SetPort GetPort AddRef Release SetMessage
    GetMessage"""
MESSAGE = """
    Reset Release AddRecipient GetRecipientCount GetRecipient$ AddCc GetCcCount GetCc$ AddBcc
    GetBccCount GetBcc$ AddAttachment GetAttachmentCount GetAttachment$ AddInlineImage
    GetInlineImageCount GetInlineImagePath$ GetInlineImageId$ SetSender GetSender$ SetPriority
    GetPriority SetSubject GetSubject$ SetCharset GetCharset$ LoadBodyFromFile SetHtmlBody
    GetHtmlBody$ SetTextBody GetTextBody$"""
FIRST_ENTRY = 2  # The destructor takes two.


class Library:
    def __init__(self, path="libsmtpclient.so.1"):
        self.exports = ctypes.CDLL(path)

    def client(self):
        return Interface(self.exports.CreateSmtpClient, CLIENT)

    def message(self):
        return Interface(self.exports.CreateMimeMessage, MESSAGE)


class Interface:
    def __init__(self, factory, names):
        factory.restype = ctypes.c_void_p
        self._as_parameter_ = ctypes.c_void_p(factory())
        table = ctypes.cast(self._as_parameter_, ctypes.POINTER(ctypes.POINTER(ctypes.c_void_p)))[0]
        for entry, name in enumerate(names.split(), FIRST_ENTRY):
            setattr(self, name.rstrip("$"), self._operation(table[entry], name.endswith("$")))

    def _operation(self, address, gives_text):
        result = ctypes.POINTER(ctypes.c_uint16) if gives_text else ctypes.c_int32

        def call(*arguments):
            kinds = [ctypes.c_int32 if isinstance(argument, int) else ctypes.c_void_p for argument in arguments]
            function = ctypes.CFUNCTYPE(result, ctypes.c_void_p, *kinds)(address)
            given = function(self, *[_wide(a) if isinstance(a, str) else a for a in arguments])
            return _text(given) if gives_text else given
        return call


class Sink:
    """Tells told(task id, code, text) of each background send, on the thread that dispatches."""

    def __init__(self, told):
        kind = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(ctypes.c_uint16))
        self._operation = kind(lambda _, task, code, text: told(task, code, _text(text)))
        self._table = (ctypes.c_void_p * 2)(None, ctypes.cast(self._operation, ctypes.c_void_p))
        self._object = ctypes.c_void_p(ctypes.addressof(self._table))
        self._as_parameter_ = ctypes.c_void_p(ctypes.addressof(self._object))


def _wide(text):
    return ctypes.c_char_p(text.encode("utf-16-le") + b"\0\0")


def _text(units):
    length = 0
    while units[length] != 0:
        length += 1
    return ctypes.string_at(units, 2 * length).decode("utf-16-le", "replace")
