'use strict';

module.exports = require('./load.cjs').load();
