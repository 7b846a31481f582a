using System;
using System.Threading;
using System.Threading.Tasks;

namespace KavroBroker
{
    /// <summary>Asks what takes its time. Its tasks are carried out one after the other.</summary>
    public abstract class Asking : IDisposable
    {
        // How often a cancel is said: one that meets no request yet is forgotten.
        private static readonly TimeSpan Patience = TimeSpan.FromMilliseconds(50);
        private readonly SemaphoreSlim turn = new SemaphoreSlim(1);

        internal Asking() { }

        /// <summary>Ends what is under way, with <see cref="Result.Cancelled"/>. On any thread.</summary>
        public abstract void Cancel();

        /// <summary>Frees the handle, at the end of the call that is under way if there is one.</summary>
        public abstract void Dispose();

        internal Task Ask(Action request, CancellationToken token)
        {
            return Ask(() => {
                request();
                return true;
            }, token);
        }

        /// <summary>The request has ended when the task has, so that the next one finds the connection
        /// free.</summary>
        internal async Task<T> Ask<T>(Func<T> request, CancellationToken token)
        {
            await turn.WaitAsync(token).ConfigureAwait(false);
            try
            {
                var running = Task.Factory.StartNew(request, CancellationToken.None,
                                                    TaskCreationOptions.LongRunning, TaskScheduler.Default);
                await UntilUnwanted(running, token).ConfigureAwait(false);
                while (!running.IsCompleted)
                {
                    Cancel();
                    await Task.WhenAny(running, Task.Delay(Patience)).ConfigureAwait(false);
                }
                return await running.ConfigureAwait(false);
            }
            catch (BrokerException exception) when (exception.Code == Result.Cancelled
                                                    && token.IsCancellationRequested)
            {
                throw new OperationCanceledException(exception.Message, exception, token);
            }
            finally
            {
                turn.Release();
            }
        }

        /// <summary>Waits until the task has ended or is no longer wanted.</summary>
        private static async Task UntilUnwanted(Task running, CancellationToken token)
        {
            var cancelled = new TaskCompletionSource<bool>(TaskCreationOptions.RunContinuationsAsynchronously);
            using (token.Register(() => cancelled.TrySetResult(true)))
                await Task.WhenAny(running, cancelled.Task).ConfigureAwait(false);
        }
    }
}
