import { availableParallelism } from 'node:os';

/** Does the work of each of a list, `jobs` at once; gives the results in the order of the list. */
export async function sideBySide(list, work, jobs = availableParallelism()) {
  const results = [];
  const rest = list.entries();
  const worker = async () => {
    for (const [index, each] of rest) results[index] = await work(each);
  };
  await Promise.all(Array.from({ length: jobs }, worker));
  return results;
}
