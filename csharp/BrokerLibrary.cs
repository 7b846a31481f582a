using System;
using System.Collections.Generic;

namespace KavroBroker
{
    /// <summary>What holds for the whole process.</summary>
    public static partial class BrokerLibrary
    {
        // What the library calls, kept for as long as it may.
        private static readonly Dictionary<Type, object> Hooks = new Dictionary<Type, object>();

        /// <summary>The function gets every line of the log, on the thread that is inside the library. To be set
        /// before the first broker is made and before other threads use the library, as the next one.</summary>
        public static void SetLogFunction(Action<LogMessage> function)
        {
            var deliver = Callbacks.Log(function);
            Exports.kavro_broker_set_log_function(deliver);
            Hooks[deliver.GetType()] = deliver; // the one before is let go only now
            Call.Done();
        }

        /// <summary>The function gets the identifier under which the broker logs this client, once it is
        /// known.</summary>
        public static void SetSessionLogIdFunction(Action<string> function)
        {
            var deliver = Callbacks.SessionLogId(function);
            Exports.kavro_broker_set_session_log_id_function(deliver);
            Hooks[deliver.GetType()] = deliver;
            Call.Done();
        }
    }

    /// <summary>A result other than OK.</summary>
    public sealed class BrokerException : Exception
    {
        /// <summary>The message is a sentence for the code, followed by the broker's own text.</summary>
        public BrokerException(Result code, string brokerText = "")
            : base($"{BrokerLibrary.ResultText(code)} {brokerText}".TrimEnd())
        {
            Code = code;
            BrokerText = brokerText;
        }

        /// <summary>The result.</summary>
        public Result Code { get; private set; }

        /// <summary>Its name in C.</summary>
        public string Name { get { return BrokerLibrary.ResultName(Code); } }

        /// <summary>What the broker said of the request that failed; empty where it said nothing.</summary>
        public string BrokerText { get; private set; }
    }
}
