using System;
using System.Runtime.ExceptionServices;
using System.Runtime.InteropServices;

namespace KavroBroker
{
    /// <summary>The functions that the library calls. None lets an exception into it: the call of the library
    /// that it came from throws it.</summary>
    internal static class Callbacks
    {
        [ThreadStatic]
        private static ExceptionDispatchInfo kept;

        internal static void Rethrow()
        {
            var exception = kept;
            kept = null;
            if (exception != null)
                exception.Throw();
        }

        internal static void Forget() { kept = null; }

        internal static T Keeping<T>(Func<T> callback, T otherwise)
        {
            try
            {
                return callback();
            }
            catch (Exception exception)
            {
                kept = kept ?? ExceptionDispatchInfo.Capture(exception);
                return otherwise;
            }
        }

        internal static kavro_broker_log_function Log(Action<LogMessage> listen)
        {
            return (category, severity, error, format, arguments) => Keeping(() => {
                listen(new LogMessage(category, severity, error, Format.Text(format, arguments)));
                return true;
            }, false);
        }

        internal static kavro_broker_message_function Message(Action<LogMessage> listen)
        {
            return (context, category, severity, error, text) => Keeping(() => {
                listen(new LogMessage(category, severity, error, Call.Constant(text)));
                return true;
            }, false);
        }

        internal static kavro_broker_session_log_id_function SessionLogId(Action<string> listen)
        {
            return sessionId => Keeping(() => {
                listen(Call.Constant(sessionId));
                return true;
            }, false);
        }

        internal static kavro_broker_sign_function Signer(Func<byte[], byte[]> sign)
        {
            return (IntPtr context, IntPtr digest, UIntPtr length, IntPtr signature, ref UIntPtr room) =>
                Signed(() => sign(Bytes(digest, length)), signature, ref room) ? 1 : 0;
        }

        internal static kavro_broker_sign_scheme_function SchemeSigner(Func<ushort, byte[], byte[]> sign)
        {
            return (IntPtr context, ushort scheme, IntPtr digest, UIntPtr length, IntPtr signature,
                    ref UIntPtr room) =>
                Signed(() => sign(scheme, Bytes(digest, length)), signature, ref room) ? 0 : 1;
        }

        private static byte[] Bytes(IntPtr data, UIntPtr length)
        {
            var bytes = new byte[(int)length];
            Marshal.Copy(data, bytes, 0, bytes.Length);
            return bytes;
        }

        /// <summary>Whether a signature was made, and there is room for it.</summary>
        private static bool Signed(Func<byte[]> sign, IntPtr signature, ref UIntPtr room)
        {
            var made = Keeping(sign, null);
            if (made == null || (ulong)made.Length > (ulong)room)
                return false;
            Marshal.Copy(made, 0, signature, made.Length);
            room = (UIntPtr)made.Length;
            return true;
        }
    }

    /// <summary>A line of the process's log comes as a format of C and its arguments.</summary>
    internal static class Format
    {
        [DllImport("libc", CallingConvention = CallingConvention.Cdecl)]
        private static extern int vasprintf(out IntPtr text, IntPtr format, IntPtr arguments);

        [DllImport("libc", CallingConvention = CallingConvention.Cdecl)]
        private static extern void free(IntPtr text);

        [DllImport("msvcrt", CallingConvention = CallingConvention.Cdecl)]
        private static extern int _vscprintf(IntPtr format, IntPtr arguments);

        [DllImport("msvcrt", CallingConvention = CallingConvention.Cdecl)]
        private static extern int _vsnprintf(IntPtr text, UIntPtr size, IntPtr format, IntPtr arguments);

        internal static string Text(IntPtr format, IntPtr arguments)
        {
            return Environment.OSVersion.Platform == PlatformID.Win32NT ? Windows(format, arguments)
                                                                        : Posix(format, arguments);
        }

        private static string Posix(IntPtr format, IntPtr arguments)
        {
            IntPtr text;
            if (vasprintf(out text, format, arguments) < 0)
                throw new OutOfMemoryException();
            try
            {
                return Call.Constant(text);
            }
            finally
            {
                free(text);
            }
        }

        private static string Windows(IntPtr format, IntPtr arguments)
        {
            var size = _vscprintf(format, arguments) + 1;
            var text = Marshal.AllocHGlobal(size);
            try
            {
                _vsnprintf(text, (UIntPtr)size, format, arguments);
                return Call.Constant(text);
            }
            finally
            {
                Marshal.FreeHGlobal(text);
            }
        }
    }
}
