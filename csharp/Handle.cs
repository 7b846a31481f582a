using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;

namespace KavroBroker
{
    /// <summary>A handle that is freed when it is disposed of or collected, but not during a call.</summary>
    internal abstract class Handle : SafeHandle
    {
        // What the library may call until the handle is freed: which one it still holds is its own affair.
        private readonly List<object> kept = new List<object>();

        internal Handle() : base(IntPtr.Zero, true) { }

        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }

        internal T Keep<T>(T callback) where T : class
        {
            kept.Add(callback);
            return callback;
        }

        protected abstract void Free();

        protected override bool ReleaseHandle()
        {
            Free();
            Callbacks.Forget();
            return true;
        }
    }
}
