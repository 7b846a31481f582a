// Carries on one conversation in C#: conversation ADDRESS PORT CERTIFICATE < words of calls > outcomes
using System;
using System.Collections;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Text.RegularExpressions;
using System.Threading;
using System.Threading.Tasks;
using KavroBroker;

/// <summary>The calls that are more than one call of the assembly.</summary>
public sealed class Calls : IDisposable
{
    private readonly string address, port;
    private readonly byte[] certificate;
    private readonly List<string> log = new List<string>(), ownLog = new List<string>();
    private readonly List<int> digests = new List<int>();
    private readonly Broker broker;
    private int sessionIds;

    public Calls(string address, string port, string certificate)
    {
        this.address = address;
        this.port = port;
        this.certificate = File.ReadAllBytes(certificate);
        BrokerLibrary.SetLogFunction(message => log.Add(message.Text));
        BrokerLibrary.SetSessionLogIdFunction(id => ++sessionIds);
        broker = new Broker();
        broker.SetBrokerAddress(address, port);
        broker.SetClientInfo("languages", "1.0", "test");
    }

    public void Dispose() { broker.Dispose(); }

    public void Trust() { broker.AddTrustAnchor(certificate); }

    public void SignWithZeros(int length)
    {
        broker.UseSigningCertificate(certificate, digest => {
            digests.Add(digest.Length);
            return new byte[length];
        });
    }

    public void SignBySchemeWithZeros(int length)
    {
        broker.UseSigningKey(certificate, (scheme, digest) => {
            digests.Add(scheme);
            return new byte[length];
        });
    }

    public object DigestLengths() { return digests; }

    public object ReportedResult()
    {
        return Regex.Match(broker.GetRequestReport(), "\"result\":.*?\"name\": ?\"(.*?)\"").Groups[1].Value;
    }

    public object FindType()
    {
        using (var finder = new TypeFinder())
        {
            var before = finder.Finished();
            var found = finder.FindTypeExtended(address, port);
            return new object[] { finder.FindTypeAsync(address, port).Result, found.TypeCode, found.Address,
                                  found.Port == port, before, finder.Finished() };
        }
    }

    public object VariableList(IEnumerable<Variable> variables) { return new VariableList(variables); }

    public object Logged(string text) { return log.Any(line => line.Contains(text)); }

    public object Heard(string text) { return ownLog.Any(line => line.Contains(text)); }

    public void Listen() { broker.SetMessageFunction(message => ownLog.Add(message.Text)); }

    public void DoNotListen() { broker.SetMessageFunction(null); }

    public object SessionIdsTold() { return sessionIds; }

    public object Cancelled(string name)
    {
        var request = Task.Run(() => Call(new[] { name }));
        while (!request.Wait(10))
            broker.Cancel();
        return request.Result;
    }

    public object Call(string[] words)
    {
        foreach (var place in new object[] { this, broker, typeof(BrokerLibrary) })
        {
            var kind = place as Type ?? place.GetType();
            var method = kind.GetMethods().FirstOrDefault(
                found => Regex.Replace(found.Name, "^Get", "").ToLower() == words[0].Replace("_", ""));
            if (method == null)
                continue;
            var given = method.GetParameters().Select((p, index) => Argument(p, words.Skip(index + 1)));
            return method.Invoke(place, given.ToArray());
        }
        throw new MissingMethodException(words[0]);
    }

    private static object Argument(ParameterInfo parameter, IEnumerable<string> words)
    {
        var kind = parameter.ParameterType;
        if (kind == typeof(IEnumerable<Variable>))
            return words.Where((_, index) => index % 2 == 0)
                .Zip(words.Where((_, index) => index % 2 == 1), (name, value) => new Variable(name, value));
        if (kind == typeof(TimeSpan))
            return TimeSpan.FromSeconds(int.Parse(words.First()));
        return kind.IsEnum ? Enum.Parse(kind, words.First()) : Convert.ChangeType(words.First(), kind);
    }
}

public static class Conversation
{
    private static readonly Type[] Plain = { typeof(BrokerInfo), typeof(GatewayTicket), typeof(Target), typeof(Variable) };

    /// <summary>What was told, in JSON: a record of plain texts as their list, another one by names.</summary>
    private static string Json(object told)
    {
        if (told == null)
            return "null";
        if (told is string)
            return "\"" + ((string)told).Replace("\\", "\\\\").Replace("\"", "\\\"") + "\"";
        if (told is bool || told is int)
            return told.ToString().ToLower();
        if (told is Enum)
            return Convert.ToInt32(told).ToString();
        if (told is IEnumerable)
            return "[" + string.Join(",", ((IEnumerable)told).Cast<object>().Select(Json)) + "]";
        if (told is Certificate)
            return Json(new object[] { ((Certificate)told).Der.Length > 0, ((Certificate)told).Verdict });
        var members = told.GetType().GetProperties();
        if (Plain.Contains(told.GetType()))
            return Json(members.Select(member => member.GetValue(told)));
        return "{" + string.Join(",", members.Select(
            member => $"{Json(Snake(member.Name))}:{Json(member.GetValue(told))}")) + "}";
    }

    private static string Snake(string name) { return Regex.Replace(name, "(?<=.)[A-Z]", "_$0").ToLower(); }

    private static string Outcome(Calls calls, string[] words)
    {
        try
        {
            return Json(calls.Call(words));
        }
        catch (Exception exception)
        {
            var error = exception.GetBaseException() as BrokerException;
            if (error == null)
                throw;
            return $"{{\"error\":{Json(new object[] { error.Code, error.Name, error.BrokerText })}}}";
        }
    }

    public static void Main(string[] arguments)
    {
        using (var calls = new Calls(arguments[0], arguments[1], arguments[2]))
            for (string line; (line = Console.ReadLine()) != null;)
                Console.WriteLine(Outcome(calls, line.Split('\t')));
    }
}
