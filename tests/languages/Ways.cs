// What the table of conversations cannot say of the C# assembly: exceptions of callbacks, tasks, and what
// prints itself. With a broker that takes connections and is silent then.
using System;
using System.Net;
using System.Net.Sockets;
using System.Threading;
using KavroBroker;

public static class Ways
{
    private static Action<string> heard = line => { };

    private static void Check(bool holds, string what)
    {
        if (!holds)
            throw new InvalidOperationException(what);
    }

    private static T Thrown<T>(Action act) where T : Exception
    {
        try
        {
            act();
        }
        catch (T exception)
        {
            return exception;
        }
        throw new InvalidOperationException($"no {typeof(T).Name}");
    }

    private static void WhenItWaits(Action act)
    {
        heard = line => {
            if (line.StartsWith("Deadline Timer timeout"))
                act();
        };
    }

    private static void CancellationCancels(Broker broker)
    {
        var source = new CancellationTokenSource();
        WhenItWaits(source.Cancel);
        var first = broker.GetAuthMethodAsync(source.Token);
        var second = broker.RequestDesktopListAsync(new CancellationTokenSource(200).Token);
        Thrown<OperationCanceledException>(() => first.GetAwaiter().GetResult());
        Thrown<OperationCanceledException>(() => second.GetAwaiter().GetResult());
        Check(first.IsCanceled && second.IsCanceled, "a cancelled task failed");
        Check(broker.GetRequestReport().Contains("ERR_CANCELLED"), "the broker was not cancelled");
    }

    private static void AnExceptionOfACallbackIsThrown(Broker broker)
    {
        WhenItWaits(() => {
            broker.Cancel();
            throw new DivideByZeroException();
        });
        Thrown<DivideByZeroException>(() => broker.GetAuthMethod());
        heard = line => { };
        Check(broker.GetCertificateErrorText() == "", "what was thrown is thrown again");
        Thrown<ArgumentException>(() => broker.SetLocale("en\0US"));
    }

    private static void NothingSecretIsPrinted()
    {
        var printed = $"{new Variable("seat", "canary")}";
        Check(printed == "Variable { Name = seat }", printed);
    }

    public static void Main()
    {
        var silent = new TcpListener(IPAddress.Loopback, 0);
        silent.Start();
        BrokerLibrary.SetLogFunction(message => heard(message.Text));
        using (var broker = new Broker())
        {
            broker.SetBrokerAddress("127.0.0.1", ((IPEndPoint)silent.LocalEndpoint).Port.ToString());
            broker.SetClientInfo("ways", "1.0", "test");
            CancellationCancels(broker);
            AnExceptionOfACallbackIsThrown(broker);
            GC.Collect(); // what is freed now may call back no more
        }
        NothingSecretIsPrinted();
    }
}
