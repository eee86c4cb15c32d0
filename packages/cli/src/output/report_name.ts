/** The page that --report writes. */
export const reportName = 'report.html';
