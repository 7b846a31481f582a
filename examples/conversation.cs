// A whole conversation with a broker in C#: log in with a password, list the desktops, ask for the first
// one, log out.
//
//   conversation.exe ADDRESS PORT USER DOMAIN < file with the password
using System;
using KavroBroker;

public static class Example
{
    /// <summary>Answers what the broker asks for, until it asks for nothing more.</summary>
    private static void LogIn(Broker broker, string user, string domain, string password)
    {
        AuthMethod method;
        while ((method = broker.GetAuthMethod()) != AuthMethod.None)
        {
            if (method == AuthMethod.Disclaimer)
                broker.SendAcceptDisclaimer(true);
            else if (method == AuthMethod.Password)
                broker.SendPassword(BrokerLibrary.EscapeText(user), BrokerLibrary.EscapeText(domain),
                                    BrokerLibrary.EscapeText(password));
            else
                throw new BrokerException(Result.NotImplemented);
        }
    }

    private static void ShowTarget(Broker broker, string desktopId)
    {
        try
        {
            var target = broker.ConnectToDesktop(desktopId).Target;
            Console.WriteLine($"{desktopId} waits at {target.Address}, port {target.Port}");
        }
        catch (BrokerException exception) when (exception.Code == Result.ConnectDesktopPending)
        {
            Console.WriteLine($"{desktopId} is being made ready; ask again later");
        }
    }

    private static void Converse(string address, string port, string user, string domain, string password)
    {
        BrokerLibrary.SetLogFunction(message => {
            if (message.Severity == LogSeverity.Error)
                Console.Error.WriteLine($"log: {message.Text}");
        });
        using (var broker = new Broker())
        {
            broker.SetBrokerAddress(address, port);
            broker.SetClientInfo("conversation", "1.0", ".NET");
            broker.KeepConnection(TimeSpan.FromMinutes(1));

            LogIn(broker, user, domain, password);
            var desktops = broker.RequestDesktopList();
            for (var index = 0; index < desktops.Count; ++index)
                Console.WriteLine($"desktop {index}: {desktops[index].Name}");
            if (desktops.Count > 0)
                ShowTarget(broker, desktops[0].Id);
            broker.ClearSession();
        }
    }

    public static int Main(string[] arguments)
    {
        var password = Console.ReadLine();
        if (arguments.Length != 4 || password == null)
        {
            Console.Error.WriteLine("usage: conversation.exe ADDRESS PORT USER DOMAIN < PASSWORD-FILE");
            return 2;
        }
        try
        {
            Converse(arguments[0], arguments[1], arguments[2], arguments[3], password);
            return 0;
        }
        catch (BrokerException exception)
        {
            Console.Error.WriteLine($"conversation.exe: {exception.Name}: {exception.Message}");
            return 1;
        }
    }
}
