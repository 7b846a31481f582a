using System;
using System.Collections.Generic;
using System.Linq;
using System.Runtime.InteropServices;
using System.Text;

namespace KavroBroker
{
    /// <summary>What goes into one call. It is wiped afterwards, as it may be secret.</summary>
    internal sealed class Lent : IDisposable
    {
        private readonly List<GCHandle> texts = new List<GCHandle>(); // pinned, so that no copies are left behind
        private VariableList variables;

        internal uint Count { get; private set; }

        internal byte[] Text(string text)
        {
            return text == null ? null : (byte[])Pinned(text).Target;
        }

        internal VariableListHandle Variables(IEnumerable<Variable> given)
        {
            variables = new VariableList(given ?? Enumerable.Empty<Variable>());
            return variables.Handle;
        }

        internal kavro_broker_name_value[] Fields(IEnumerable<Variable> given)
        {
            var fields = given.Select(field => new kavro_broker_name_value {
                name = Pinned(field.Name).AddrOfPinnedObject(),
                value = Pinned(field.Value).AddrOfPinnedObject(),
            }).ToArray();
            Count = (uint)fields.Length;
            return fields;
        }

        public void Dispose()
        {
            foreach (var text in texts)
            {
                Array.Clear((byte[])text.Target, 0, ((byte[])text.Target).Length);
                text.Free();
            }
            if (variables != null)
                variables.Dispose();
        }

        /// <summary>The library would take no more than what comes before a zero.</summary>
        private GCHandle Pinned(string text)
        {
            if (text.IndexOf('\0') >= 0)
                throw new ArgumentException("A text holds a zero character.");
            var pinned = GCHandle.Alloc(new byte[Encoding.UTF8.GetByteCount(text) + 1], GCHandleType.Pinned);
            Encoding.UTF8.GetBytes(text, 0, text.Length, (byte[])pinned.Target, 0);
            texts.Add(pinned);
            return pinned;
        }
    }
}
