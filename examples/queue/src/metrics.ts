import type { Queue } from 'bullmq';
import { Counter, collectDefaultMetrics, Gauge, Histogram, Registry } from 'prom-client';
import type { PartDone } from './job.js';

/** Milliseconds that Redis has to tell how many jobs there are; without it the rest is told. */
const patience = 1000;

/** What a worker counts, in Prometheus' words. */
export class Metrics {
  private readonly registry = new Registry();
  private readonly registers = [this.registry];

  private readonly ended = new Counter({
    name: 'stiltforge_jobs_total',
    help: 'Jobs of this worker by how they ended: made, reused, retried, parked, handed_back.',
    labelNames: ['end'] as const,
    registers: this.registers,
  });

  private readonly seconds = new Histogram({
    name: 'stiltforge_job_seconds',
    help: 'Seconds from the start of a job to its result.',
    buckets: [0.25, 0.5, 1, 2.5, 5, 10, 30, 60, 120, 300, 600],
    registers: this.registers,
  });

  private readonly peakMemory = new Histogram({
    name: 'stiltforge_job_peak_bytes',
    help: "Peak memory of a part's process.",
    buckets: [1e8, 2e8, 3e8, 5e8, 1e9, 2e9, 4e9, 8e9],
    registers: this.registers,
  });

  private readonly cpuSeconds = new Counter({
    name: 'stiltforge_job_cpu_seconds_total',
    help: 'Processor time that parts took, of all cores.',
    registers: this.registers,
  });

  private readonly active = new Gauge({
    name: 'stiltforge_jobs_active',
    help: 'Jobs that this worker is at.',
    registers: this.registers,
  });

  constructor(queue: Queue) {
    for (const end of ['made', 'reused', 'retried', 'parked', 'handed_back']) {
      this.ended.inc({ end }, 0);
    }
    collectDefaultMetrics({ register: this.registry });
    new Gauge({
      name: 'stiltforge_queue_jobs',
      help: 'Jobs in the queue by state, of all workers. Those that failed are parked.',
      labelNames: ['state'],
      registers: this.registers,
      async collect() {
        this.reset();
        for (const [state, jobs] of Object.entries(await countsOf(queue))) {
          this.set({ state }, jobs);
        }
      },
    });
  }

  get contentType(): string {
    return this.registry.contentType;
  }

  text(): Promise<string> {
    return this.registry.metrics();
  }

  /** Counts a job as active until the work ends. */
  async during<T>(work: () => Promise<T>): Promise<T> {
    this.active.inc();
    try {
      return await work();
    } finally {
      this.active.dec();
    }
  }

  done({ reused, seconds, peakMemory, cpuSeconds }: PartDone): void {
    this.ended.inc({ end: reused ? 'reused' : 'made' });
    this.seconds.observe(seconds);
    this.cpuSeconds.inc(cpuSeconds);
    if (peakMemory > 0) this.peakMemory.observe(peakMemory);
  }

  failed(isLast: boolean): void {
    this.ended.inc({ end: isLast ? 'parked' : 'retried' });
  }

  handedBack(): void {
    this.ended.inc({ end: 'handed_back' });
  }
}

async function countsOf(queue: Queue): Promise<Record<string, number>> {
  const counts = queue.getJobCounts('waiting', 'active', 'delayed', 'completed', 'failed');
  const nothing = new Promise<Record<string, number>>((resolve) => {
    setTimeout(() => resolve({}), patience).unref();
  });
  return Promise.race([counts.catch(() => ({})), nothing]);
}
