using System;
using System.Collections.Generic;
using System.Linq;
using System.Runtime.InteropServices;
using System.Text;

namespace KavroBroker
{
    internal delegate uint Count<in TOwner>(TOwner owner, out uint count);

    /// <summary>How the C interface is called, once for all functions.</summary>
    internal static class Call
    {
        /// <summary>After each call that has a result.</summary>
        internal static void Check(uint result)
        {
            Done();
            if (result != (uint)Result.Ok)
                throw new BrokerException((Result)result);
        }

        /// <summary>After each call that has none.</summary>
        internal static void Done() { Callbacks.Rethrow(); }

        internal static string Constant(IntPtr text)
        {
            var length = 0;
            while (Marshal.ReadByte(text, length) != 0)
                ++length;
            return Copy(text, length);
        }

        /// <summary>What comes before the zero.</summary>
        internal static string Text(byte[] buffer)
        {
            return Encoding.UTF8.GetString(buffer, 0, Array.IndexOf(buffer, (byte)0));
        }

        internal static string Copy(kavro_broker_text text) { return Copy(text.data, (int)text.size); }

        private static string Copy(IntPtr text, int length)
        {
            var bytes = new byte[length];
            Marshal.Copy(text, bytes, 0, length);
            return Encoding.UTF8.GetString(bytes);
        }

        internal static IReadOnlyList<Operation> Bits(uint operations)
        {
            return Enum.GetValues(typeof(Operation)).Cast<Operation>()
                .Where(operation => (operations >> (int)operation & 1) != 0).ToList();
        }

        internal static UIntPtr SizeOf<T>() { return (UIntPtr)Marshal.SizeOf(typeof(T)); }

        /// <summary>A duration as the library counts it. One that has no such number is too long.</summary>
        internal static uint Units(TimeSpan time, int inASecond)
        {
            var count = Math.Floor(time.TotalSeconds * inASecond);
            return count >= 0 && count < uint.MaxValue ? (uint)count : uint.MaxValue;
        }

        /// <summary>The library stops the process at an operation that there is none of.</summary>
        internal static uint Known(Operation operation)
        {
            if (!Enum.IsDefined(typeof(Operation), operation))
                throw new BrokerException(Result.InvalidParameter);
            return (uint)operation;
        }

        internal static IReadOnlyList<T> Each<TOwner, T>(TOwner owner, Count<TOwner> count,
                                                         Func<TOwner, uint, T> read)
        {
            uint size;
            Check(count(owner, out size));
            var items = new List<T>();
            for (uint index = 0; index < size; ++index)
                items.Add(read(owner, index));
            return items;
        }
    }

    /// <summary>Room for a text that comes out.</summary>
    internal sealed class Room
    {
        internal byte[] Buffer;
        internal UIntPtr Size;

        internal string Text { get { return Encoding.UTF8.GetString(Buffer, 0, (int)Size - 1); } }

        /// <summary>Asks for the sizes of all texts, makes room and asks for the texts.</summary>
        internal static void Fill(Func<uint> read, params Room[] rooms)
        {
            Call.Check(read());
            foreach (var room in rooms)
                room.Buffer = new byte[(int)room.Size];
            Call.Check(read());
        }
    }
}
