'use strict';

module.exports = require('./load.cjs').loadBinary('stiltforge.node');
