import { createServer, type Server, type ServerResponse } from 'node:http';
import type { Metrics } from './metrics.js';

/** What a worker's state is asked for. */
export interface Health {
  /** Why no job is taken now; undefined when jobs are. */
  notReady(): string | undefined;
}

/**
 * GET /healthz: the process lives. GET /readyz: it takes jobs; 503 with a sentence when not.
 * GET /metrics: for Prometheus.
 */
export function healthServer(
  health: Health,
  metrics: Pick<Metrics, 'text' | 'contentType'>,
): Server {
  const answer = async (url: string | undefined, response: ServerResponse): Promise<void> => {
    switch (url) {
      case '/healthz':
        return say(response, 200, 'alive\n');
      case '/readyz': {
        const reason = health.notReady();
        return say(response, reason === undefined ? 200 : 503, `${reason ?? 'ready'}\n`);
      }
      case '/metrics':
        return say(response, 200, await metrics.text(), metrics.contentType);
      default:
        return say(response, 404, 'There are /healthz, /readyz and /metrics.\n');
    }
  };
  return createServer(({ url }, response) => {
    // A page that fails must not end the jobs at work.
    answer(url, response).catch((error) => say(response, 500, `${error.message}\n`));
  });
}

function say(response: ServerResponse, status: number, text: string, type = 'text/plain'): void {
  response.writeHead(status, { 'Content-Type': type }).end(text);
}
